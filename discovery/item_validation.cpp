#include "discovery/item_validation.h"

#include <memory>
#include <utility>

#include "base/text.h"
#include "base/uuid.h"
#include "catalogue/installed_version.h"
#include "catalogue/item_catalogue.h"
#include "catalogue/pass_guard.h"
#include "catalogue/record_keys.h"
#include "platform/bundle.h"
#include "platform/file_manager.h"
#include "platform/log.h"
#include "platform/platform.h"

namespace revwarden {
namespace {

// Intentional: only a missing name is replaced by the file name. An empty name is kept.
std::string applicationName(const Bundle& bundle, const std::string& path) {
  if (bundle.bundleName) return *bundle.bundleName;
  return std::string(deletingPathExtension(lastPathComponent(path)));
}

}  // namespace

bool ItemValidation::updateItemInfoForPath(PathInspector& inspector, const std::string& path) {
  const std::optional<Dictionary> known = catalogue_.itemSnapshotWithPath(path);
  const std::optional<Installed> installed = readInstalled(inspector, path);
  if (!installed) return catalogue_.removeItem(known);
  if (!known || !known->contains(kKQRWCurrentVersionKey)) {
    return addRecord(known, path, *installed);
  }
  return updateRecord(*known, *installed);
}

std::optional<ItemValidation::Installed> ItemValidation::readInstalled(
    PathInspector& inspector, const std::string& path) const {
  platform_.bundles.flushBundleCachesForPath(path);
  const std::shared_ptr<const Bundle> bundle = platform_.bundles.threadSafeBundleWithPath(path);
  if (!bundle) {
    // Most bundles open, so this is only tested here.
    if (!inspector.fileExistsAtPath(path)) {
      platform_.log.NSLog("Application at path \"%@\" was not found", {path});
    }
    return std::nullopt;
  }
  const Versions::VersionRef version = versionOfBundle(platform_, *bundle);
  if (!version) return std::nullopt;
  return Installed{version, applicationName(*bundle, path), bundle->bundleIdentifier.value_or("")};
}

bool ItemValidation::addRecord(const std::optional<Dictionary>& known, const std::string& path,
                               const Installed& installed) {
  DictionaryBuilder record(known.value_or(Dictionary()));
  if (!known || !known->stringFor(kKQRWIDKey)) record.set(kKQRWIDKey, stringWithUUID());
  record.set(kKQRWCurrentVersionKey, installed.version->stringRepresentation());
  record.set(kKQRWApplicationPathKey, path);
  record.set(kKQRWApplicationNameKey, installed.name);
  record.set(kKQRWBundleIdKey, installed.bundleId);
  const Dictionary item = record.build();
  if (!catalogue_.updateItem(item)) catalogue_.appendItem(item);
  return true;
}

bool ItemValidation::updateRecord(const Dictionary& known, const Installed& installed) {
  const Versions::VersionRef recorded =
      platform_.versions.versionWithValue(known.find(kKQRWCurrentVersionKey));
  // Intentional: with the same version, the record stays as it is even if the name changed.
  if (recorded && installed.version->compare(*recorded) == 0) return false;
  // Intentional: keeps the answer of the service, which the next check updates.
  DictionaryBuilder record(known);
  record.set(kKQRWCurrentVersionKey, installed.version->stringRepresentation());
  record.set(kKQRWApplicationNameKey, installed.name);
  record.set(kKQRWBundleIdKey, installed.bundleId);
  catalogue_.updateItem(record.build());
  return true;
}

void ItemValidation::startUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids) {
  if (pass_.updateIsInProgress()) {
    platform_.log.NSLog("updateInfoForItemsWithIDs: update is already in progress. Skip.");
    return;
  }
  pass_.start([this, ids] { performUpdateInfoForItemsWithIDs(ids); });
}

void ItemValidation::performUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids) {
  std::vector<std::string> paths;
  for (const std::string& id : ids) {
    const std::optional<Dictionary> item = catalogue_.itemSnapshotWithID(id);
    const std::string* path = item ? item->stringFor(kKQRWApplicationPathKey) : nullptr;
    if (path) paths.push_back(*path);
  }
  // Intentional: excluded paths and other volumes are validated, too. Only a refresh omits them.
  const std::unique_ptr<PathInspector> inspector = platform_.files.inspectorForPass();
  bool changed = false;
  for (const std::string& path : paths) changed |= updateItemInfoForPath(*inspector, path);
  // Intentional: unlike a list refresh, sends the change event last and saves nothing. The next
  // save includes the change.
  pass_.finish();
  if (changed) pass_.onMainThread([this] { mediator_.notifyDelegateAboutItemsDidChange(); });
}

}  // namespace revwarden
