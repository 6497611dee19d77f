#include "catalogue/agent_settings.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/excluded_paths.h"
#include "catalogue/item_catalogue.h"
#include "catalogue/record_keys.h"
#include "platform/file_manager.h"
#include "platform/platform.h"
#include "platform/user_defaults.h"

namespace revwarden {
namespace {

constexpr char kSettingsKey[] = "KQRWAgent";
constexpr char kItemsKey[] = "itemsPrefsKey";
constexpr char kShowNotificationsKey[] = "showRevwardenNotifications";
constexpr char kAllLocalVolumesKey[] = "updateAllLocalVolumes";
constexpr char kLastFireDateKey[] = "lastFireDate";
constexpr char kTotalUpdatesCountKey[] = "TotalUpdatesCount";

// Removes the values that are meaningful only while a job runs. Intentional: the byte counts stay.
Dictionary withoutJobState(const Dictionary& record) {
  return record.without(kKQRWInstallerDownloadPathKey)
      .without(kKQRWInstallerResourcesPathKey)
      .without(kKQRWInstallerCurrentActionKey)
      .without(kKQRWInstallerIsInQueueKey);
}

}  // namespace

AgentSettings::AgentSettings(const Platform& platform, ItemCatalogue& catalogue,
                             ExcludedPaths& excluded)
    : platform_(platform), catalogue_(catalogue), excluded_(excluded) {}

std::optional<Dictionary> AgentSettings::userDefaults() const {
  return platform_.userDefaults.dictionaryForKey(kSettingsKey);
}

void AgentSettings::setUserDefaults(const Dictionary& settings) {
  platform_.userDefaults.setDictionary(settings, kSettingsKey);
  platform_.userDefaults.synchronize();
}

void AgentSettings::loadPrefs() {
  const Dictionary settings = userDefaults().value_or(Dictionary());
  loadCatalogue(settings);
  // Not through the setters, which would save.
  showRevwardenNotifications_ = settings.boolFor(kShowNotificationsKey);
  updatesApplicationsFromAllLocalVolumes_ = settings.boolFor(kAllLocalVolumesKey);
  setLastFireDate(settings.dateFor(kLastFireDateKey));
}

// Intentional: keeps the values of jobs, and records of applications that no longer exist. The
// first refresh removes these records.
void AgentSettings::loadCatalogue(const Dictionary& settings) {
  const Array stored = settings.arrayFor(kItemsKey).value_or(Array());
  const std::unique_ptr<PathInspector> inspector = platform_.files.inspectorForPass();
  ItemCatalogue::Access records(catalogue_);
  records->clear();
  for (const Value& value : stored) {
    const Dictionary* record = value.as<Dictionary>();
    const std::string* path = record ? record->stringFor(kKQRWApplicationPathKey) : nullptr;
    if (!path || excluded_.isExcludedApplicationPath(*inspector, *path)) continue;
    records->append(*record);
  }
}

void AgentSettings::savePrefs() {
  // Starts from the stored settings, which keeps the update count and keys of other versions.
  DictionaryBuilder settings(userDefaults().value_or(Dictionary()));
  std::vector<Value> items;
  {
    ItemCatalogue::Access records(catalogue_);
    items.reserve(records->size());
    for (auto position = records->begin(); position != records->end(); ++position) {
      items.emplace_back(withoutJobState(RecordList::contents(position)));
    }
  }
  settings.set(kItemsKey, Array(std::move(items)));
  settings.set(kShowNotificationsKey, showRevwardenNotifications());
  settings.set(kAllLocalVolumesKey, updatesApplicationsFromAllLocalVolumes());
  // Intentional: if there is no date in memory, the stored one stays.
  if (const std::optional<Date> date = lastFireDate()) settings.set(kLastFireDateKey, *date);
  setUserDefaults(settings.build());
}

void AgentSettings::setShowRevwardenNotifications(bool show) {
  if (showRevwardenNotifications_.exchange(show) != show) savePrefs();
}

// Intentional: starts no refresh. The change takes effect with the next one.
void AgentSettings::setUpdatesApplicationsFromAllLocalVolumes(bool all) {
  if (updatesApplicationsFromAllLocalVolumes_.exchange(all) != all) savePrefs();
}

int64_t AgentSettings::totalUpdatesCount() const {
  return userDefaults().value_or(Dictionary()).integerFor(kTotalUpdatesCountKey);
}

// Writes the stored settings again, so it does not save the catalogue or the switches.
void AgentSettings::countInstalledUpdate() {
  const Dictionary settings = userDefaults().value_or(Dictionary());
  setUserDefaults(
      settings.with(kTotalUpdatesCountKey, settings.integerFor(kTotalUpdatesCountKey) + 1));
}

}  // namespace revwarden
