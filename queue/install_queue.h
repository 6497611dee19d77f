#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "base/value.h"
#include "catalogue/kqrw_agent_delegate.h"
#include "queue/job_ledger.h"

namespace revwarden {

class AgentSettings;
class ItemCatalogue;
class KQHelperTask;
class KQRWAppUpdater;
struct Platform;

/// The install queue: creates a job for each requested update, runs the jobs one at a time and
/// copies their state into the records of their applications.
///
/// Main thread unless an operation says otherwise. Callbacks may re-enter: starting or cancelling a
/// job may end it, and each event may change the queue, so re-read the queue after each call.
/// Intentional: a second report of a job's end is handled like the first, and a status that arrives
/// after the end like any other. Only the outcome is reported once.
class InstallQueue final : private KQRWAppInstallerDelegate {
 public:
  class Mediator {
   public:
    /// Returns the agent, as the sender of events.
    virtual KQRWAgent& agent() = 0;
    /// Returns the receiver of events; nullptr if there is none.
    virtual std::shared_ptr<KQRWAgentDelegate> delegate() const = 0;
    /// Returns a reference that expires with the agent. The queue locks it during a request,
    /// because the host may release the agent in an event.
    virtual std::weak_ptr<void> weakAgentReference() = 0;
    /// Starts a validation pass for these records.
    virtual void startUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids) = 0;

   protected:
    ~Mediator() = default;
  };

  InstallQueue(std::shared_ptr<const Platform> platform, ItemCatalogue& catalogue,
               AgentSettings& settings, Mediator& mediator);
  ~InstallQueue() override;

  // The operations of the agent with the same names (agent/kqrw_agent.h).
  void startUpdateItemWithIDs(const std::vector<std::string>& ids);
  void cancelUpdateItemWithIDs(const std::vector<std::string>& ids);
  void startUpdatePellmark();
  bool installerQueueIsInProgress() const { return !installersQueue_.empty(); }
  int64_t installerQueueCount() const { return static_cast<int64_t>(installersQueue_.size()); }
  std::vector<std::string> openJobIDs() const { return ledger_.openIDs(); }
  void reportOpenJobsAsEnded() { ledger_.closeAllAsAgentEnds(); }

  /// Returns the helper with administrator rights that jobs share; nullptr if no job has needed it.
  const std::shared_ptr<KQHelperTask>& rootTask() const { return rootTask_; }

 private:
  using Job = std::shared_ptr<KQRWAppUpdater>;

  bool addItemToInstallQueue(Dictionary& item, const Job& job);
  bool removeItemFromInstallQueue(Dictionary& item);
  std::vector<Job>::iterator jobFor(const Dictionary& item);
  Job makeJob(const Dictionary& item);
  bool needsRights(const Dictionary& item) const;
  std::optional<Error> askForRights();
  void dropRights();
  void startHead();

  void appInstallerDidStart(KQRWAppUpdater& job) override;
  void appInstallerDidUpdateStatus(KQRWAppUpdater& job) override;
  void appInstaller_didFinishSuccessfully(KQRWAppUpdater& job, bool successfully) override;
  void appInstallerFailedAndStoppedQueue(KQRWAppUpdater& job) override;

  std::optional<Dictionary> itemOf(const KQRWAppUpdater& job) const;
  std::optional<Dictionary> markAsNotQueued(const KQRWAppUpdater& job);
  void reportOutcomeOf(KQRWAppUpdater& job);
  void revalidateItemOf(const KQRWAppUpdater& job);
  void logOutcome(const Dictionary& item, bool successfully);

  void sendDidChangeStatus(const std::vector<Dictionary>& items);
  void sendDidStartQueue();
  void sendDidStopQueue();

  const std::shared_ptr<const Platform> platform_;
  ItemCatalogue& catalogue_;
  AgentSettings& settings_;
  Mediator& mediator_;
  std::vector<Job> installersQueue_;  // the first one runs
  std::shared_ptr<KQHelperTask> rootTask_;
  JobLedger ledger_;  // depends-on: platform_
  // State of the current request:
  bool rootTaskAvailable_ = true;  // false once the user refused the rights
  Error rightsRefusal_;            // the reason
  std::vector<std::pair<Job, Error>> refused_;
};

/// Returns true if the download link in a record has the extension of an installer package.
bool itemNeedToBeUpdatedThroughPkgFile(const Dictionary& item);

}  // namespace revwarden
