#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/guarded.h"
#include "base/value.h"
#include "catalogue/job_action.h"
#include "catalogue/kqrw_agent_delegate.h"
#include "platform/host_application.h"
#include "platform/url_download.h"

namespace revwarden {

class KQHelperTask;
struct Platform;

/// One update job: downloads the update that is on offer for an application and installs it.
///
/// `start` and `cancel` are called on the main thread, where the delegate hears of everything. The
/// download and the installation have a thread each; they keep the job alive, and its last
/// reference goes on the main thread, as long as that runs its loop. A job may report its end
/// twice, and may be started again while it runs: then two downloads or installations share its
/// state, to no good but safely.
class KQRWAppUpdater : public NotificationTarget,
                       public URLDownloadDelegate,
                       public std::enable_shared_from_this<KQRWAppUpdater> {
 public:
  /// `initWithApplicationItem:`. A job for the application of this record.
  KQRWAppUpdater(std::shared_ptr<const Platform> platform, const Dictionary& item);
  ~KQRWAppUpdater() override;

  /// Both before `start`. Without a root task files are replaced with the rights of this process.
  void setDelegate(std::weak_ptr<KQRWAppInstallerDelegate> delegate);
  void setRootTask(std::shared_ptr<KQHelperTask> rootTask);

  /// Begins the job. It may have reported its end when this returns.
  void start();
  /// Ends the job at the next point where that is safe. A running installation first ends the step
  /// that it is at: meanwhile the main loop is served here. The job has reported its end when this
  /// returns; a download may then still be waiting for the network.
  void cancel();

  // Any thread.
  const std::optional<std::string>& originalAppItemID() const { return originalAppItemID_; }
  /// What the job is at, for its record; `failed` for a cancelled job, whatever it was at.
  SimpleAction simpleCurrentAction() const;
  JobAction currentAction() const { return currentAction_; }
  /// Expected length of the download in bytes: 0 before the response, -1 when it is unknown.
  int64_t totalBytes() const { return totalBytes_; }
  int64_t receivedBytes() const { return receivedBytes_; }
  /// The downloaded file, and where the installation takes its files from.
  std::optional<std::string> downloadPath() const { return downloadPath_.get(); }
  std::optional<std::string> resourcesPath() const { return resourcesPath_.get(); }

  /// Deletes the downloaded file, or the files of the installation, from the disk and forgets them.
  void clearDownload();
  void clearResources();

  /// The notice for a failed download; sets the action that fits.
  HostNotification downloadDidFailNotificationWithError(const URLDownloadError& error);

  // The download's events, on its thread.
  void download_didReceiveResponse(const URLDownloadResponse& response) override;
  std::string download_decideDestinationWithSuggestedFilename(
      const std::optional<std::string>& name) override;
  void download_didReceiveDataOfLength(int64_t length) override;
  void downloadDidFinish() override;
  void download_didFailWithError(const URLDownloadError& error) override;

  /// The notices of a job have no buttons that do anything.
  void performAction(std::string_view) override {}

 protected:
  using Step = void (KQRWAppUpdater::*)();

  /// The whole installation, on its thread.
  virtual void performInstall();

  const std::shared_ptr<const Platform>& platform() const { return platform_; }
  /// Runs a step on a new thread, or in a later turn of the main loop; the job lives until then.
  bool detachNewThread(Step body);
  void postToMainThread(Step call);

 private:
  // The job (kqrw_app_updater.cpp).
  void performOnMainThreadAndWait(Step call);
  void setCurrentAction(JobAction action);
  void updateStatus();
  void didUpdateStatus();
  void notifyAppInstallerDidFinishSuccessfully();
  void notifyAppInstallerDidFail();
  void notifyAppInstallerFailedAndStoppedQueue();
  void clearDownloadState();
  void clearItem(const Guarded<std::optional<std::string>>& path, std::string_view failureFormat);
  HostNotification warning(std::string text);

  // The download (update_download.cpp).
  void performDownload();
  void stopDownload() { downloadCanceled_ = true; }
  void openRefusedContent();
  std::string downloadsFolder() const;

  // The installation (update_installation.cpp).
  void startInstall();
  void _performInstallThread();
  void onStopInstall();
  void revealDownload();
  void mountForUser(const std::optional<std::string>& imagePath);
  std::optional<std::string> unzipTarget(const std::optional<std::string>& path);
  std::vector<std::string> contentsOf(const std::string& folder) const;
  std::optional<std::string> imageIn(const std::string& folder) const;
  std::optional<std::string> updateAppFromResourcePathReturningPathToLaunch(
      const std::optional<std::string>& resources);
  void replaceApplicationWith(const std::string& newApplication);
  bool moveOldApplicationToTrash();
  bool copyNewApplication(const std::string& newApplication);
  void finishUpdateWithMountPoint_mountPath_andPathToLaunch(
      const std::string& mountPoint, const std::optional<std::string>& imagePath,
      const std::optional<std::string>& pathToLaunch);
  void installPackageFile(const std::optional<std::string>& path);
  void showFailure();

  const std::shared_ptr<const Platform> platform_;
  std::weak_ptr<KQRWAppInstallerDelegate> delegate_;
  std::shared_ptr<KQHelperTask> rootTask_;

  // From the record.
  const std::optional<std::string> targetDownloadUrl_;
  const std::optional<std::string> applicationName_;
  const std::optional<std::string> applicationPath_;
  const std::optional<std::string> applicationBundleId_;
  const std::optional<std::string> originalAppItemID_;
  const std::string updateMethod_;

  std::atomic<JobAction> currentAction_ = JobAction::made;
  std::atomic<bool> stopAction_ = false;  // cancelled: every later step looks at it
  Guarded<std::optional<std::string>> downloadPath_;
  Guarded<std::optional<std::string>> resourcesPath_;

  std::atomic<bool> downloadDidStart_ = false;  // the first response was judged
  std::atomic<bool> downloadCanceled_ = false;  // ends the download thread at its next turn
  std::atomic<int64_t> totalBytes_ = 0;
  std::atomic<int64_t> receivedBytes_ = 0;
  std::atomic<double> statusUpdateTime_ = 0;  // of the last progress report

  std::atomic<bool> installRunning_ = false;
  // Installations that have ended, or are about to, and whose end is not reported yet. Raised
  // before `installRunning_` falls: `cancel` waits for both.
  std::atomic<int> unreportedEnds_ = 0;
};

}  // namespace revwarden
