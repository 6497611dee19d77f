#pragma once

#include <string>
#include <vector>

#include "catalogue/live_record.h"
#include "platform/outcomes.h"

namespace revwarden {

class AgentSettings;
class PassGuard;
class ExcludedPaths;
class ItemCatalogue;
class ItemValidation;
class PathInspector;
struct Platform;

/// The list refresh: a pass that brings the whole catalogue in line with the disk and then runs an
/// update check if one is needed.
class ListRefresh {
 public:
  class Mediator {
   public:
    /// Cancels the timer of the next periodic check. Main thread.
    virtual void dropScheduleTimer() = 0;
    /// Sets whether the user requested the next check.
    virtual void setScanStartedByUser(bool byUser) = 0;
    /// Clears that flag and returns its previous value.
    virtual bool takeScanStartedByUser() = 0;
    /// Runs one check on the calling thread and returns its outcome without the times.
    virtual CheckOutcome performCheckForAppsUpdates() = 0;
    /// Send `itemsDidChangeInAgent` and `agentDidFinishUpdatingApplicationList` to the delegate.
    /// Main thread.
    virtual void notifyDelegateAboutItemsDidChange() = 0;
    virtual void didFinishUpdatingApplicationsList() = 0;

   protected:
    ~Mediator() = default;
  };

  ListRefresh(const Platform& platform, ItemCatalogue& catalogue, AgentSettings& settings,
              ExcludedPaths& excluded, PassGuard& pass, ItemValidation& validation,
              Mediator& mediator);

  /// Clears the dates of the last check and starts a refresh, whose check counts as requested by
  /// the user. While a pass is running, starts nothing, but the next check counts as requested by
  /// the user. Main thread.
  void startFullRescan();
  /// Starts a refresh. While a pass is running, only cancels the timer of the next check. Main
  /// thread.
  void startUpdateApplicationsList();

 private:
  void performUpdateApplicationsList();
  bool refreshCatalogue();
  bool validateApplications(PathInspector& inspector);
  bool isInScope(PathInspector& inspector, const std::string& path) const;
  std::vector<std::string> applicationsPathsToUpdate(PathInspector& inspector) const;
  void removeRecordsOutOfScope(PathInspector& inspector, const LiveRecords& snapshot);
  static bool thereAreNeverCheckedItems(const LiveRecords& records);

  const Platform& platform_;
  ItemCatalogue& catalogue_;
  AgentSettings& settings_;
  ExcludedPaths& excluded_;
  PassGuard& pass_;
  ItemValidation& validation_;
  Mediator& mediator_;
};

}  // namespace revwarden
