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

/// The plug-in's principal object: what the host and its user interface ask of the agent.
///
/// The agent keeps a catalogue of the installed applications, one record each
/// (catalogue/record_keys.h), and runs at most one background pass over it at a time. It lives as
/// long as the host keeps it; its threads keep it alive while they run. Requests come on the main
/// thread unless an operation says otherwise; no operation throws.
///
/// All operations are virtual because calls cross the edge of a module that is loaded at run time.
class KQRWAgent {
 public:
  virtual ~KQRWAgent() = default;

  /// Events go to `delegate`, which is not kept alive; nullptr drops them.
  virtual void setDelegate(std::shared_ptr<KQRWAgentDelegate> delegate) = 0;
  /// The proxy that stands for the delegate; nullptr before the first `setDelegate`.
  virtual std::shared_ptr<KQRWAgentDelegate> delegate() const = 0;

  // The catalogue. Reading it: any thread.

  /// The records that hold an answer of the update service, in catalogue order.
  virtual LiveRecords items() const = 0;
  /// All records, in catalogue order.
  virtual LiveRecords itemsSnapshot() const = 0;
  /// A copy of the first record with this id; absent without one.
  virtual std::optional<Dictionary> itemSnapshotWithID(std::string_view id) const = 0;
  /// Stars or unstars the record, saves and tells the delegate, also when nothing changed.
  virtual void setStarred_forItemWithId(bool starred, std::string_view id) = 0;
  /// Puts the records on the black list or takes them off, saves once and sends one event. Unknown
  /// ids are left out of the event.
  virtual void moveItemsWithIds_toBlackList(const std::vector<std::string>& ids, bool listed) = 0;
  virtual bool itemWithIdIsInBlackList(std::string_view id) const = 0;

  // Background passes. Each returns once the pass was started; a request that finds one running is
  // dropped.

  /// Forgets when records were last checked and refreshes the list, which then asks the service. An
  /// answer that cannot be read is shown to the user. While a pass runs nothing is forgotten, and
  /// the wish to be shown such an answer counts for its check, or else for the next.
  virtual void startFullRescan() = 0;
  /// Brings the catalogue in line with the disk and asks the service when anything is new.
  virtual void startUpdateApplicationsList() = 0;
  /// Reads the named applications again.
  virtual void startUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids) = 0;
  /// Whether a pass is running. Any thread.
  virtual bool updateIsInProgress() const = 0;

  // The install queue. It runs one update job at a time.

  /// Queues an update of each catalogued application among `ids`, in catalogue order, whatever is
  /// on offer for it. May ask the user for administrator rights, once, and waits for the answer;
  /// without them the applications that need them are left out.
  virtual void startUpdateItemWithIDs(const std::vector<std::string>& ids) = 0;
  /// Takes the updates of these applications out of the queue. A running installation first ends
  /// the step that it is at: until then this does not return, but serves the main loop.
  virtual void cancelUpdateItemWithIDs(const std::vector<std::string>& ids) = 0;
  /// Queues the update of the host product. Does nothing when it is not in the catalogue.
  virtual void startUpdatePellmark() = 0;
  virtual bool installerQueueIsInProgress() const = 0;
  /// The number of jobs in the queue, the running one included.
  virtual int64_t installerQueueCount() const = 0;
  /// The ids of the records with a request whose outcome is still to come: those in the queue, and
  /// those whose page is being opened. Any thread.
  virtual std::vector<std::string> openJobIDs() const = 0;
  /// Reports every open request as failed or dropped because the agent ends; no outcome of a job is
  /// reported afterwards. The host calls it before the process ends. Any thread.
  virtual void reportOpenJobsAsEnded() = 0;

  // Settings. Setting a new value saves; an equal one does nothing. Getters: any thread.

  /// Whether the user is told of new versions.
  virtual bool showRevwardenNotifications() const = 0;
  virtual void setShowRevwardenNotifications(bool show) = 0;
  /// Whether applications on other volumes than the system's are catalogued, from the next refresh.
  virtual bool updatesApplicationsFromAllLocalVolumes() const = 0;
  virtual void setUpdatesApplicationsFromAllLocalVolumes(bool all) = 0;
  /// When the last check ended; the next is due a day later. Absent: due now.
  virtual std::optional<Date> lastFireDate() const = 0;
  /// How many updates were installed, ever.
  virtual int64_t totalUpdatesCount() const = 0;

  /// Has the host's user interface show the Revwarden window.
  virtual void openRevwarden() = 0;
};

}  // namespace revwarden
