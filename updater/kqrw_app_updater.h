#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/value.h"
#include "catalogue/kqrw_agent_delegate.h"
#include "platform/host_application.h"
#include "updater/job_result.h"
#include "updater/job_state.h"
#include "updater/update_download.h"
#include "updater/update_installation.h"

namespace revwarden {

class KQHelperTask;
struct Platform;

/// One update job: coordinates the download and the installation of an application's update, and
/// reports their progress and end to its delegate.
///
/// `start` and `cancel` are called on the main thread, where the delegate receives every event. The
/// download and the installation have a thread each. Each thread holds the job and hands its
/// reference to the main thread at its end, so the job is destroyed there. A job may report its end
/// twice, and may be started again while it runs: two downloads or installations then share its
/// state; the result is of no use, but nothing is corrupted.
class KQRWAppUpdater : public NotificationTarget,
                       public std::enable_shared_from_this<KQRWAppUpdater>,
                       private UpdateDownload::Mediator,
                       private UpdateInstallation::Mediator {
 public:
  /// `initWithApplicationItem:`. Makes a job for the application of this record.
  KQRWAppUpdater(std::shared_ptr<const Platform> platform, const Dictionary& item);
  ~KQRWAppUpdater() override;

  /// Both before `start`. Without a root task, files are replaced with the rights of this process.
  void setDelegate(std::weak_ptr<KQRWAppInstallerDelegate> delegate);
  void setRootTask(std::shared_ptr<KQHelperTask> rootTask);

  /// Starts the job. It may have reported its end when this returns.
  void start();

  /// Ends the job at the next point where that is safe. A running installation first completes its
  /// current step; until then the main loop is served here. The job has reported its end when this
  /// returns; a download may still be waiting for the network.
  void cancel();

  /// Calls `handler` with the verdict: at once, or, for a page that is being opened, when it is
  /// known whether it opened. Main thread.
  void whenVerdictIsKnown(std::function<void(const JobVerdict&)> handler);

  // Any thread.

  const std::optional<std::string>& originalAppItemID() const { return item_.originalAppItemID; }
  /// The job's action for its record; `failed` for a cancelled job, whatever its action.
  SimpleAction simpleCurrentAction() const;
  JobAction currentAction() const { return state_.currentAction; }
  /// Expected length of the download in bytes: 0 before the response, -1 if it is unknown.
  int64_t totalBytes() const { return state_.totalBytes; }
  int64_t receivedBytes() const { return state_.receivedBytes; }
  /// The downloaded file, and where the installation takes its files from.
  std::optional<std::string> downloadPath() const { return state_.downloadPath.get(); }
  std::optional<std::string> resourcesPath() const { return state_.resourcesPath.get(); }

  /// Does nothing: the notices of a job have no buttons with an action.
  void performAction(std::string_view) override {}

 protected:
  using Step = void (KQRWAppUpdater::*)();

  /// The whole installation, on its thread.
  virtual void performInstall() { installation_.performInstall(); }

  const std::shared_ptr<const Platform>& platform() const { return platform_; }
  /// Runs a step on a new thread, or in a later turn of the main loop; the job lives until then.
  bool detachNewThread(Step body);
  void postToMainThread(Step call);

 private:
  void openPage();
  void pageDidOpen(bool opened);
  void performDownload() { download_.performDownload(); }
  void _performInstallThread();
  void onStopInstall();
  void didUpdateStatus();
  void notifyAppInstallerDidFinishSuccessfully();
  void notifyAppInstallerDidFail();

  // The mediators of the steps.
  void setCurrentAction(JobAction action) override;
  void updateStatus() override;
  HostNotification warning(std::string text) override;
  void startInstall() override;
  void didFinishAndWait(bool successfully) override;
  void failedAndStoppedQueueAndWait() override;
  void postDidFinishSuccessfully() override;

  const std::shared_ptr<const Platform> platform_;
  std::weak_ptr<KQRWAppInstallerDelegate> delegate_;
  const JobItem item_;
  JobState state_;
  UpdateDownload download_;          // depends-on: platform_, item_, state_
  UpdateInstallation installation_;  // depends-on: platform_, item_, state_
  // Installations that have ended or are about to, and whose end is not reported yet. Raised before
  // `installRunning` is cleared: `cancel` waits for both.
  std::atomic<int> unreportedEnds_ = 0;

  // Main thread.
  bool pageIsOpening_ = false;
  std::function<void(const JobVerdict&)> verdictHandler_;
};

}  // namespace revwarden
