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

/// The pass that brings the whole catalogue in line with the disk and then decides whether to ask
/// the update service.
class ListRefresh {
 public:
  class Mediator {
   public:
    /// Cancels the timer of the next periodic check.
    virtual void dropScheduleTimer() = 0;
    /// Sets whether the user asked for the next check.
    virtual void setScanStartedByUser(bool byUser) = 0;
    /// Clears that flag and returns what it was.
    virtual bool takeScanStartedByUser() = 0;
    /// Runs one whole check and returns its outcome without the times.
    virtual CheckOutcome performCheckForAppsUpdates() = 0;
    virtual void notifyDelegateAboutItemsDidChange() = 0;
    virtual void didFinishUpdatingApplicationsList() = 0;

   protected:
    ~Mediator() = default;
  };

  ListRefresh(const Platform& platform, ItemCatalogue& catalogue, AgentSettings& settings,
              ExcludedPaths& excluded, PassGuard& pass, ItemValidation& validation,
              Mediator& mediator);

  /// Starts a refresh that the user asked for, which forgets when records were last checked.
  /// Dropped while a pass runs, but the next check then counts as asked for by the user. Main
  /// thread.
  void startFullRescan();
  /// Starts a refresh; dropped while a pass runs. Main thread.
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
