#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/value.h"
#include "catalogue/kqrw_agent_delegate.h"
#include "catalogue/live_record.h"

namespace revwarden {

/// The principal object of the plug-in: the operations for the host and its user interface.
///
/// The agent keeps a catalogue of the installed applications, with one record for each
/// (catalogue/record_keys.h), and runs at most one background pass over it at a time. The host owns
/// it; a background pass keeps it alive until it ends. Main thread unless an operation says
/// otherwise. No operation throws. An unknown id is ignored.
///
/// All operations are virtual, because calls cross the interface of a module that is loaded at run
/// time.
class KQRWAgent {
 public:
  virtual ~KQRWAgent() = default;

  /// Sends events to `delegate` from now on, without keeping it alive. nullptr drops the events.
  virtual void setDelegate(std::shared_ptr<KQRWAgentDelegate> delegate) = 0;
  /// Returns a proxy of the delegate; nullptr before the first `setDelegate`. Any thread.
  virtual std::shared_ptr<KQRWAgentDelegate> delegate() const = 0;

  // The catalogue. Operations that only read it: any thread.

  /// Returns the records with an answer of the update service, in catalogue order.
  virtual LiveRecords items() const = 0;
  /// Returns all records, in catalogue order.
  virtual LiveRecords itemsSnapshot() const = 0;
  /// Returns a copy of the first record with this id; absent if there is none.
  virtual std::optional<Dictionary> itemSnapshotWithID(std::string_view id) const = 0;
  /// Stars or unstars the record, saves and notifies the delegate on the calling thread, even if
  /// nothing changed.
  virtual void setStarred_forItemWithId(bool starred, std::string_view id) = 0;
  /// Adds the records to the black list or removes them from it, saves once and sends one event on
  /// the calling thread, with the records in the order of `ids`.
  virtual void moveItemsWithIds_toBlackList(const std::vector<std::string>& ids, bool listed) = 0;
  /// Returns true if the record is on the black list; false for an unknown id.
  virtual bool itemWithIdIsInBlackList(std::string_view id) const = 0;

  // Background passes. A request returns when the pass has started. While a pass is running, a
  // request is ignored.

  /// Clears the dates of the last check and starts a list refresh, which then asks the service
  /// about every application. The user gets a notice if the response is malformed. While a pass is
  /// running this starts nothing, but the notice applies to that pass or the next.
  virtual void startFullRescan() = 0;
  /// Starts a list refresh: brings the catalogue in line with the disk, and asks the service if
  /// anything changed or an application was never checked.
  virtual void startUpdateApplicationsList() = 0;
  /// Starts a validation pass, which reads these applications from the disk again.
  virtual void startUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids) = 0;
  /// Returns true while a pass is running. Any thread.
  virtual bool updateIsInProgress() const = 0;

  // The install queue. It runs one update job at a time.

  /// Queues an update of each of these applications, in catalogue order, even if the service offers
  /// none. If administrator rights are needed, asks the user at most once and waits for the answer;
  /// without them, applications that need them are not queued.
  virtual void startUpdateItemWithIDs(const std::vector<std::string>& ids) = 0;
  /// Removes the updates of these applications from the queue. A running installation first
  /// completes its current step; until then this runs the main loop.
  virtual void cancelUpdateItemWithIDs(const std::vector<std::string>& ids) = 0;
  /// Queues the update of the host product, if it is in the catalogue.
  virtual void startUpdatePellmark() = 0;
  /// Returns true while the queue has a job.
  virtual bool installerQueueIsInProgress() const = 0;
  /// Returns the number of jobs in the queue, including the running one.
  virtual int64_t installerQueueCount() const = 0;
  /// Returns the ids of the records with a request that has no outcome yet: those in the queue, and
  /// those whose page is being opened. Any thread.
  virtual std::vector<std::string> openJobIDs() const = 0;
  /// Reports an outcome for each of these requests, failed or dropped, because the agent ends. No
  /// outcome of a job is reported afterwards. The host calls it before the process ends. Any
  /// thread.
  virtual void reportOpenJobsAsEnded() = 0;

  // Settings. A setter saves if the value differs. Getters: any thread.

  /// Whether the user is notified of new versions.
  virtual bool showRevwardenNotifications() const = 0;
  virtual void setShowRevwardenNotifications(bool show) = 0;
  /// Whether the catalogue includes applications on other volumes than the system's. A change takes
  /// effect with the next refresh.
  virtual bool updatesApplicationsFromAllLocalVolumes() const = 0;
  virtual void setUpdatesApplicationsFromAllLocalVolumes(bool all) = 0;
  /// Returns when the last check ended; the next one is due a day later. Absent if it is due now.
  virtual std::optional<Date> lastFireDate() const = 0;
  /// Returns how many updates have been installed in total.
  virtual int64_t totalUpdatesCount() const = 0;

  /// Makes the host's user interface show the Revwarden window.
  virtual void openRevwarden() = 0;
};

}  // namespace revwarden
