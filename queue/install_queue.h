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

/// The install queue: turns requests into update jobs, runs them one at a time and mirrors what
/// they do into the records of their applications.
///
/// Main thread unless an operation says otherwise. Callbacks may re-enter: starting or cancelling a
/// job may end it, and every event may change the queue, so re-read the queue after each call. A
/// second report of a job's end is handled like the first, and a status that arrives after the end
/// like any other; only its outcome is reported once.
class InstallQueue final : private KQRWAppInstallerDelegate {
 public:
  class Mediator {
   public:
    virtual KQRWAgent& agent() = 0;
    /// Receives the events; nullptr drops them.
    virtual std::shared_ptr<KQRWAgentDelegate> delegate() const = 0;
    /// Expires with the agent; held while a request runs, in which the host may let it go.
    virtual std::weak_ptr<void> weakAgentReference() = 0;
    virtual void startUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids) = 0;

   protected:
    ~Mediator() = default;
  };

  InstallQueue(std::shared_ptr<const Platform> platform, ItemCatalogue& catalogue,
               AgentSettings& settings, Mediator& mediator);
  ~InstallQueue() override;

  void startUpdateItemWithIDs(const std::vector<std::string>& ids);
  void cancelUpdateItemWithIDs(const std::vector<std::string>& ids);
  /// Queues the first record at the host product's path, if there is one.
  void startUpdatePellmark();

  bool installerQueueIsInProgress() const { return !installersQueue_.empty(); }
  /// The ids of the records with a request whose outcome is still to come. Any thread.
  std::vector<std::string> openJobIDs() const { return ledger_.openIDs(); }
  /// Reports every open request as ended with the agent. Any thread.
  void reportOpenJobsAsEnded() { ledger_.closeAllAsAgentEnds(); }

  int64_t installerQueueCount() const { return static_cast<int64_t>(installersQueue_.size()); }
  /// The rights that jobs of this run share; nullptr until a job needs them.
  const std::shared_ptr<KQHelperTask>& rootTask() const { return rootTask_; }

 private:
  using Job = std::shared_ptr<KQRWAppUpdater>;

  bool addItemToInstallQueue(Dictionary& item);
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
  // Of the current request.
  bool rootTaskAvailable_ = true;  // whether the user may still be asked
  Error rightsRefusal_;            // why not
  std::vector<std::pair<Dictionary, Error>> refused_;
};

/// Whether the update that is on offer for a record is an installer package, judged by its link.
bool itemNeedToBeUpdatedThroughPkgFile(const Dictionary& item);

}  // namespace revwarden
