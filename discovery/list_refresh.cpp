#include "discovery/list_refresh.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "catalogue/agent_settings.h"
#include "catalogue/excluded_paths.h"
#include "catalogue/item_catalogue.h"
#include "catalogue/pass_guard.h"
#include "catalogue/record_keys.h"
#include "catalogue/record_set.h"
#include "discovery/item_validation.h"
#include "platform/clock.h"
#include "platform/file_manager.h"
#include "platform/platform.h"
#include "platform/system_information.h"

namespace revwarden {
namespace {

void removeDuplicates(std::vector<std::string>& paths) {
  std::vector<std::string> kept;
  kept.reserve(paths.size());  // keeps the views in `seen` valid
  std::unordered_set<std::string_view> seen;
  seen.reserve(paths.size());
  for (std::string& path : paths) {
    kept.push_back(std::move(path));
    if (!seen.insert(kept.back()).second) kept.pop_back();
  }
  paths = std::move(kept);
}

}  // namespace

ListRefresh::ListRefresh(const Platform& platform, ItemCatalogue& catalogue,
                         AgentSettings& settings, ExcludedPaths& excluded, PassGuard& pass,
                         ItemValidation& validation, Mediator& mediator)
    : platform_(platform),
      catalogue_(catalogue),
      settings_(settings),
      excluded_(excluded),
      pass_(pass),
      validation_(validation),
      mediator_(mediator) {}

void ListRefresh::startFullRescan() {
  // Intentional: set even while a pass is running, for its check or the next one.
  mediator_.setScanStartedByUser(true);
  if (pass_.updateIsInProgress()) return;
  {
    ItemCatalogue::Access records(catalogue_);
    for (auto position = records->begin(); position != records->end(); ++position) {
      records->edit(position, RecordList::contents(position).without(kKQRWLastFullCheckDate));
    }
  }
  settings_.setLastFireDate(std::nullopt);
  startUpdateApplicationsList();
}

// Intentional: cancels the timer even if the request is skipped. The running pass sets it again.
void ListRefresh::startUpdateApplicationsList() {
  mediator_.dropScheduleTimer();
  if (pass_.updateIsInProgress()) return;
  pass_.start([this] { performUpdateApplicationsList(); });
}

void ListRefresh::performUpdateApplicationsList() {
  const Date started = platform_.clock.now();
  CheckOutcome outcome;
  if (refreshCatalogue()) {
    outcome = mediator_.performCheckForAppsUpdates();
  } else {
    // Intentional: keeps the date of the last check. If it has passed, the timer fires at once.
    outcome.byUser = mediator_.takeScanStartedByUser();
  }
  pass_.finish();
  outcome.started = started;
  pass_.onMainThread([this, &outcome] {
    mediator_.didFinishUpdatingApplicationsList();
    outcome.ended = platform_.clock.now();
    platform_.outcomes.checkEnded(outcome);
  });
}

// Returns true if a check is needed.
bool ListRefresh::refreshCatalogue() {
  const std::unique_ptr<PathInspector> inspector = platform_.files.inspectorForPass();
  const bool changed = validateApplications(*inspector);
  if (changed) {
    pass_.onMainThread([this] { settings_.savePrefs(); });
    pass_.onMainThread([this] { mediator_.notifyDelegateAboutItemsDidChange(); });
  }
  // Intentional: the removals are neither saved nor announced. The next save includes them.
  const LiveRecords snapshot = catalogue_.itemsSnapshot();
  removeRecordsOutOfScope(*inspector, snapshot);
  // Intentional: the snapshot still has the removed records, and one of them may cause a check.
  return changed || thereAreNeverCheckedItems(snapshot);
}

bool ListRefresh::validateApplications(PathInspector& inspector) {
  bool changed = false;
  for (const std::string& path : applicationsPathsToUpdate(inspector)) {
    if (excluded_.isExcludedApplicationPath(inspector, path)) continue;
    if (!isInScope(inspector, path)) continue;
    changed |= validation_.updateItemInfoForPath(inspector, path);
  }
  return changed;
}

bool ListRefresh::isInScope(PathInspector& inspector, const std::string& path) const {
  return settings_.updatesApplicationsFromAllLocalVolumes() || inspector.pathIsOnSystemVolume(path);
}

// Returns resolved paths. Intentional: a record whose path is a link is not validated, and a second
// record gets the resolved path. A path that does not exist is omitted, so it is not logged.
std::vector<std::string> ListRefresh::applicationsPathsToUpdate(PathInspector& inspector) const {
  std::vector<std::string> candidates = platform_.systemInformation.allApplicationsPaths();
  {
    ItemCatalogue::Access records(catalogue_);
    for (auto position = records->begin(); position != records->end(); ++position) {
      const Dictionary record = RecordList::contents(position);
      if (const std::string* path = record.stringFor(kKQRWApplicationPathKey)) {
        candidates.push_back(*path);
      }
    }
  }
  removeDuplicates(candidates);
  std::vector<std::string> resolved;
  resolved.reserve(candidates.size());
  for (const std::string& path : candidates) {
    if (std::optional<std::string> real = inspector.resolvedPath(path)) {
      resolved.push_back(std::move(*real));
    }
  }
  removeDuplicates(resolved);
  return resolved;
}

// Removes the records of applications that no longer exist or are on a volume that no longer
// counts. Records at excluded paths stay until the next start. A record that was replaced by other
// contents since the snapshot stays, too.
void ListRefresh::removeRecordsOutOfScope(PathInspector& inspector, const LiveRecords& snapshot) {
  RecordSet leaving;
  for (const LiveRecordRef& record : snapshot) {
    const Dictionary contents = record->contents();
    const std::string* path = contents.stringFor(kKQRWApplicationPathKey);
    const bool stays = path && isInScope(inspector, *path) && inspector.fileExistsAtPath(*path);
    if (!stays) leaving.add(record);
  }
  if (leaving.empty()) return;
  ItemCatalogue::Access records(catalogue_);
  for (auto position = records->begin(); position != records->end();) {
    position = leaving.contains(RecordList::record(position)) ? records->remove(position)
                                                              : std::next(position);
  }
}

bool ListRefresh::thereAreNeverCheckedItems(const LiveRecords& records) {
  return std::any_of(records.begin(), records.end(), [](const LiveRecordRef& record) {
    return wasNeverChecked(record->contents());
  });
}

}  // namespace revwarden
