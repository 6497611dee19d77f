#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/kqrw_agent.h"
#include "base/guarded.h"
#include "catalogue/agent_settings.h"
#include "catalogue/excluded_paths.h"
#include "catalogue/item_catalogue.h"
#include "catalogue/pass_guard.h"
#include "check/check_schedule.h"
#include "check/new_updates_notice.h"
#include "check/update_check.h"
#include "discovery/item_validation.h"
#include "discovery/list_refresh.h"
#include "platform/host_application.h"
#include "platform/workspace.h"
#include "queue/install_queue.h"

namespace revwarden {

struct Platform;

/// The implementation of `KQRWAgent`: owns the components, connects them as their mediator, and
/// forwards most operations to one of them.
class PrincipalAgent final : public KQRWAgent,
                             public NotificationTarget,
                             public std::enable_shared_from_this<PrincipalAgent>,
                             private PassGuard::Mediator,
                             private ItemValidation::Mediator,
                             private ListRefresh::Mediator,
                             private UpdateCheck::Mediator,
                             private CheckSchedule::Mediator,
                             private NewUpdatesNotice::Mediator,
                             private InstallQueue::Mediator {
 public:
  /// Creates the agent: loads the settings, starts the first refresh and observes wakes. Main
  /// thread; release the last reference there, too.
  static std::shared_ptr<PrincipalAgent> create(std::shared_ptr<const Platform> platform);
  ~PrincipalAgent() override;

  // KQRWAgent
  void setDelegate(std::shared_ptr<KQRWAgentDelegate> delegate) override;
  std::shared_ptr<KQRWAgentDelegate> delegate() const override { return delegate_.get(); }

  LiveRecords items() const override { return catalogue_.items(); }
  LiveRecords itemsSnapshot() const override { return catalogue_.itemsSnapshot(); }
  std::optional<Dictionary> itemSnapshotWithID(std::string_view id) const override {
    return catalogue_.itemSnapshotWithID(id);
  }
  void setStarred_forItemWithId(bool starred, std::string_view id) override;
  void moveItemsWithIds_toBlackList(const std::vector<std::string>& ids, bool listed) override;
  bool itemWithIdIsInBlackList(std::string_view id) const override {
    return catalogue_.itemWithIdIsInBlackList(id);
  }

  void startFullRescan() override { refresh_.startFullRescan(); }
  void startUpdateApplicationsList() override { refresh_.startUpdateApplicationsList(); }
  void startUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids) override {
    validation_.startUpdateInfoForItemsWithIDs(ids);
  }
  bool updateIsInProgress() const override { return pass_.updateIsInProgress(); }

  void startUpdateItemWithIDs(const std::vector<std::string>& ids) override {
    queue_.startUpdateItemWithIDs(ids);
  }
  void cancelUpdateItemWithIDs(const std::vector<std::string>& ids) override {
    queue_.cancelUpdateItemWithIDs(ids);
  }
  void startUpdatePellmark() override { queue_.startUpdatePellmark(); }
  bool installerQueueIsInProgress() const override { return queue_.installerQueueIsInProgress(); }
  int64_t installerQueueCount() const override { return queue_.installerQueueCount(); }

  std::vector<std::string> openJobIDs() const override { return queue_.openJobIDs(); }
  void reportOpenJobsAsEnded() override { queue_.reportOpenJobsAsEnded(); }

  bool showRevwardenNotifications() const override {
    return settings_.showRevwardenNotifications();
  }
  void setShowRevwardenNotifications(bool show) override {
    settings_.setShowRevwardenNotifications(show);
  }
  bool updatesApplicationsFromAllLocalVolumes() const override {
    return settings_.updatesApplicationsFromAllLocalVolumes();
  }
  void setUpdatesApplicationsFromAllLocalVolumes(bool all) override {
    settings_.setUpdatesApplicationsFromAllLocalVolumes(all);
  }
  std::optional<Date> lastFireDate() const override { return settings_.lastFireDate(); }
  int64_t totalUpdatesCount() const override { return settings_.totalUpdatesCount(); }

  void openRevwarden() override;

  /// Performs "openRevwarden", the action of the agent's notices.
  void performAction(std::string_view selector) override;

 private:
  explicit PrincipalAgent(std::shared_ptr<const Platform> platform);
  void start();

  // The mediators of the components.
  std::shared_ptr<void> agentReference() override { return shared_from_this(); }
  std::weak_ptr<void> weakAgentReference() override { return weak_from_this(); }
  std::shared_ptr<NotificationTarget> notificationTarget() override { return shared_from_this(); }

  void sendDidStartValidateItem() override;
  void sendDidFinishValidateItem() override;
  void notifyDelegateAboutItemsDidChange() override;
  void didFinishUpdatingApplicationsList() override;

  void scheduleNextUpdate() override { schedule_.scheduleNextUpdate(); }
  void dropScheduleTimer() override { schedule_.dropTimer(); }
  void setScanStartedByUser(bool byUser) override { check_.setScanStartedByUser(byUser); }
  bool takeScanStartedByUser() override { return check_.takeScanStartedByUser(); }
  CheckOutcome performCheckForAppsUpdates() override { return check_.performCheckForAppsUpdates(); }
  void notifyNewUpdates() override { notice_.notifyNewUpdates(); }
  bool hasRootTask() override { return queue_.rootTask() != nullptr; }
  KQRWAgent& agent() override { return *this; }

  const std::shared_ptr<const Platform> platform_;
  Guarded<std::shared_ptr<KQRWAgentDelegate>> delegate_;
  ItemCatalogue catalogue_;
  ExcludedPaths excluded_;
  AgentSettings settings_;             // depends-on: platform_, catalogue_, excluded_
  PassGuard pass_;                     // depends-on: platform_
  ItemValidation validation_;          // depends-on: platform_, catalogue_, pass_
  UpdateCheck check_;                  // depends-on: platform_, catalogue_, settings_, pass_
  NewUpdatesNotice notice_;            // depends-on: platform_, catalogue_, settings_
  ListRefresh refresh_;                // depends-on: all of the above but check_ and notice_
  CheckSchedule schedule_;             // depends-on: platform_, settings_
  InstallQueue queue_;                 // depends-on: platform_, catalogue_, settings_
  std::unique_ptr<Observation> wake_;  // depends-on: schedule_
};

}  // namespace revwarden
