#pragma once

#include <optional>
#include <string>

#include "platform/host_application.h"
#include "platform/url_download.h"
#include "updater/job_state.h"

namespace revwarden {

struct Platform;

/// The download of an update job, on a thread of its own: fetches the file, judges the response,
/// counts progress and hands over to the installation.
class UpdateDownload final : private URLDownloadDelegate {
 public:
  /// What the download needs of its job.
  class Mediator {
   public:
    virtual void setCurrentAction(JobAction action) = 0;
    virtual void updateStatus() = 0;
    virtual HostNotification warning(std::string text) = 0;
    virtual void startInstall() = 0;
    /// Each reports to the delegate on the main thread and waits for that.
    virtual void didFinishAndWait(bool successfully) = 0;
    virtual void failedAndStoppedQueueAndWait() = 0;

   protected:
    ~Mediator() = default;
  };

  UpdateDownload(const Platform& platform, const JobItem& item, JobState& state, Mediator& job)
      : platform_(platform), item_(item), state_(state), job_(job) {}

  /// Downloads and returns at the end or after `stopDownload`. The job must have a link.
  void performDownload();

  /// Ends the download at its next event. Any thread.
  void stopDownload() { state_.downloadCanceled = true; }

  /// Forgets the downloaded file and the counts, without a status report. Any thread.
  void clearDownloadState();

  /// Deletes the downloaded file and forgets it.
  void clearDownload();

  /// Returns the notice for a failed download and sets the action that fits it.
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
  std::atomic<double> statusUpdateTime_ = 0;  // of the last progress report, seconds since 1970
};

/// Removes the file or folder at `path`, if there is one, and logs `failureFormat` with the path if
/// that fails.
void removeItem(const Platform& platform, const std::optional<std::string>& path,
                std::string_view failureFormat);

}  // namespace revwarden
