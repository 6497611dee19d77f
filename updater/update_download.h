#pragma once

#include <optional>
#include <string>

#include "platform/host_application.h"
#include "platform/url_download.h"
#include "updater/job_state.h"

namespace revwarden {

struct Platform;

/// The download of an update job: checks the response, fetches the file, counts progress and then
/// starts the installation. Runs on its own thread, which also receives the download's events.
class UpdateDownload final : private URLDownloadDelegate {
 public:
  class Mediator {
   public:
    /// Sets the step of the job and reports the status.
    virtual void setCurrentAction(JobAction action) = 0;
    /// Posts a status report to the delegate.
    virtual void updateStatus() = 0;
    /// Returns a new warning notice with this text.
    virtual HostNotification warning(std::string text) = 0;
    /// Starts the installation thread.
    virtual void startInstall() = 0;
    /// Send `appInstaller_didFinishSuccessfully` or `appInstallerFailedAndStoppedQueue` to the
    /// delegate on the main thread and wait until it has returned.
    virtual void didFinishAndWait(bool successfully) = 0;
    virtual void failedAndStoppedQueueAndWait() = 0;

   protected:
    ~Mediator() = default;
  };

  UpdateDownload(const Platform& platform, const JobItem& item, JobState& state, Mediator& job)
      : platform_(platform), item_(item), state_(state), job_(job) {}

  /// Downloads the file. Returns when the download has ended, or at its next event after
  /// `stopDownload`. The job must have a link. Download thread.
  void performDownload();

  /// Makes `performDownload` return after the next event. Any thread.
  void stopDownload() { state_.downloadCanceled = true; }

  /// Clears the path of the downloaded file and the counts, without a status report. Any thread.
  void clearDownloadState();

  /// Deletes the downloaded file and clears its path and the counts. Any thread.
  void clearDownload();

  /// Returns the notice for a failed download and sets the step of the job accordingly. Download
  /// thread.
  HostNotification downloadDidFailNotificationWithError(const URLDownloadError& error);

 private:
  void download_didReceiveResponse(const URLDownloadResponse& response) override;
  std::string download_decideDestinationWithSuggestedFilename(
      const std::optional<std::string>& name) override;
  void download_didReceiveDataOfLength(int64_t length) override;
  void downloadDidFinish() override;
  void download_didFailWithError(const URLDownloadError& error) override;

  void openRefusedContent(const std::string& mimeType);

  const Platform& platform_;
  const JobItem& item_;
  JobState& state_;
  Mediator& job_;
  std::atomic<double> statusUpdateTime_ = 0;  // last progress report, in seconds since 1970
};

/// Deletes the file or folder at `path`, if it is not absent. If that fails, logs `failureFormat`
/// with the path as its argument.
void removeItem(const Platform& platform, const std::optional<std::string>& path,
                std::string_view failureFormat);

}  // namespace revwarden
