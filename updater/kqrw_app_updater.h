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
/// reports progress and end to its delegate.
///
/// Main thread, except where a method says otherwise; the delegate receives all events there. The
/// download and the installation each run on a thread of their own. These threads hold a reference
/// to the job and pass it to the main thread when they end, so that the job is destroyed there.
///
/// A job may report its end twice. It may also be started again while it runs: two downloads or
/// installations then share its state. That is memory-safe, but its result is undefined.
class KQRWAppUpdater : public NotificationTarget,
                       public std::enable_shared_from_this<KQRWAppUpdater>,
                       private UpdateDownload::Mediator,
                       private UpdateInstallation::Mediator {
 public:
  /// Creates a job for the application of this record (`initWithApplicationItem:`).
  KQRWAppUpdater(std::shared_ptr<const Platform> platform, const Dictionary& item);
  ~KQRWAppUpdater() override;

  /// Sets the receiver of the events, which the job does not keep alive. Call before `start`.
  void setDelegate(std::weak_ptr<KQRWAppInstallerDelegate> delegate);
  /// Sets the helper that replaces files and runs packages. Without one, files are replaced with
  /// the rights of this process and packages are not run. Call before `start`.
  void setRootTask(std::shared_ptr<KQHelperTask> rootTask);

  /// Starts the job. The job may report its end before this returns.
  void start();

  /// Cancels the job. A running installation first completes its current step; until then this runs
  /// the main loop, so other calls may come in between. The job has reported its end when this
  /// returns, even if its download thread is still waiting for the network.
  void cancel();

  /// Calls `handler` with the verdict: immediately, or, if a page is being opened, when it is known
  /// whether it was opened. Call after the job has ended.
  void whenVerdictIsKnown(std::function<void(const JobVerdict&)> handler);

  // Any thread:

  /// Returns the id of the application's record.
  const std::optional<std::string>& originalAppItemID() const { return item_.originalAppItemID; }
  /// Returns the name of the application; "" if the record has none.
  std::string applicationName() const { return item_.applicationName.value_or(""); }
  /// Returns what the job has done so far.
  JobResult result() const { return state_.result.get(); }
  /// Returns the step for the record; `failed` if the job is cancelled, whatever its step is.
  SimpleAction simpleCurrentAction() const;
  /// Returns the step in detail.
  JobAction currentAction() const { return state_.currentAction; }
  /// Returns the expected length of the download in bytes: 0 before the response, -1 if unknown.
  int64_t totalBytes() const { return state_.totalBytes; }
  /// Returns the number of bytes received so far.
  int64_t receivedBytes() const { return state_.receivedBytes; }
  /// Returns the full path of the downloaded file; absent if there is none.
  std::optional<std::string> downloadPath() const { return state_.downloadPath.get(); }
  /// Returns the full path of the files that the installation uses; absent if there are none.
  std::optional<std::string> resourcesPath() const { return state_.resourcesPath.get(); }

  /// Does nothing: no button of a job's notices has an action.
  void performAction(std::string_view) override {}

 protected:
  using Step = void (KQRWAppUpdater::*)();

  /// Runs the installation. Installation thread.
  virtual void performInstall() { installation_.performInstall(); }

  const std::shared_ptr<const Platform>& platform() const { return platform_; }
  /// Runs `body` on a new thread and keeps the job alive until it has returned. Returns false and
  /// explains it in the result if the system cannot start another thread. Any thread.
  bool detachNewThread(Step body);
  /// Runs `call` in a later turn of the main loop and keeps the job alive until then. Any thread.
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

  // For the steps; any thread.
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
  // The number of ended installations whose end is not reported yet. Incremented before
  // `installRunning` is cleared, because `cancel` waits for both.
  std::atomic<int> unreportedEnds_ = 0;

  // Main thread:
  bool pageIsOpening_ = false;
  std::function<void(const JobVerdict&)> verdictHandler_;
};

}  // namespace revwarden
