#include "updater/update_download.h"

#include <memory>
#include <utility>

#include "base/text.h"
#include "platform/clock.h"
#include "platform/file_operations.h"
#include "platform/localization.h"
#include "platform/log.h"
#include "platform/platform.h"
#include "platform/workspace.h"
#include "updater/download_location.h"

namespace revwarden {
namespace {

constexpr double kProgressInterval = 0.04;  // seconds

// Intentional: case-sensitive, and "zip" may be anywhere in the type.
bool isAcceptedType(std::string_view mimeType) {
  return mimeType.find("zip") != mimeType.npos || mimeType == "application/octet-stream" ||
         mimeType == "application/x-apple-diskimage";
}

std::string fullText(const URLDownloadError& error) {
  const std::string reason = error.localizedFailureReason.value_or("");
  const std::string description = error.localizedDescription.value_or("");
  if (reason.empty() && description.empty()) return "the download failed";
  return description + (reason.empty() || description.empty() ? "" : ": ") + reason;
}

}  // namespace

void UpdateDownload::performDownload() {
  const auto download = platform_.downloads.beginDownload(*item_.targetDownloadUrl, *this);
  // Intentional: this loses an earlier cancellation. The first response checks `stopAction` for it.
  state_.downloadCanceled = false;
  // The flag is read between turns, so the event that ends the loop is still delivered: a cancelled
  // download that fails empties the queue.
  while (!state_.downloadCanceled && download->runOneTurn()) {
  }
}

void UpdateDownload::download_didReceiveResponse(const URLDownloadResponse& response) {
  if (state_.downloadDidStart.exchange(true)) return;
  if (state_.stopAction) return stopDownload();
  if (response.status >= 400) {
    state_.result.update([&](JobResult& result) {
      result.httpError = Error{"httpStatus", "the server answered with HTTP status " +
                                                 std::to_string(response.status) + ": " +
                                                 *item_.targetDownloadUrl};
    });
  }
  if (!isAcceptedType(response.mimeType)) return openRefusedContent(response.mimeType);
  job_.setCurrentAction(JobAction::downloading);
  state_.totalBytes = response.expectedLength;
  state_.receivedBytes = 0;
}

// Content that cannot be installed is probably the vendor's page. Intentional: opening it counts as
// success. The link is opened, not the URL it was redirected to.
void UpdateDownload::openRefusedContent(const std::string& mimeType) {
  const std::string& url = *item_.targetDownloadUrl;
  stopDownload();
  clearDownload();
  platform_.log.NSLog("[RWInstaller] Invalid content. Open target URL in browser.");
  if (platform_.workspace.openURL(url)) {
    state_.conclude(JobResult::Done::handedOver,
                    {"unsupportedContent", "the download is of type " + mimeType +
                                               ", which cannot be installed; opened in the "
                                               "browser: " +
                                               url});
    job_.setCurrentAction(JobAction::handedToBrowser);
    job_.didFinishAndWait(true);
  } else {
    state_.explain("pageNotOpened", "the page could not be opened: " + url);
    job_.setCurrentAction(JobAction::failed);
    job_.didFinishAndWait(false);
    platform_.log.NSLog("[RWInstaller] failed to open %@ in browser", {url});
  }
}

std::string UpdateDownload::download_decideDestinationWithSuggestedFilename(
    const std::optional<std::string>& name) {
  const std::string path =
      downloadDestination(platform_, item_.updateMethod, name, *item_.applicationName);
  state_.downloadPath.set(path);
  return path;
}

void UpdateDownload::download_didReceiveDataOfLength(int64_t length) {
  state_.receivedBytes += length;
  const double now = platform_.clock.now().secondsSince1970;
  if (now - statusUpdateTime_ <= kProgressInterval) return;
  statusUpdateTime_ = now;
  job_.updateStatus();
}

void UpdateDownload::downloadDidFinish() {
  if (state_.downloadCanceled) return;
  stopDownload();
  job_.setCurrentAction(JobAction::downloaded);
  job_.startInstall();
}

void UpdateDownload::download_didFailWithError(const URLDownloadError& error) {
  state_.explain(error.code, fullText(error));
  stopDownload();
  // Intentional: clears `downloadDidStart`, so the notice always says that there is no connection.
  clearDownloadState();
  platform_.host.showNotification(downloadDidFailNotificationWithError(error));
  job_.failedAndStoppedQueueAndWait();
}

HostNotification UpdateDownload::downloadDidFailNotificationWithError(
    const URLDownloadError& error) {
  const Localization& texts = platform_.localization;
  const std::string reason = error.localizedFailureReason ? *error.localizedFailureReason
                             : error.localizedDescription
                                 ? *error.localizedDescription
                                 : texts.KQLocalizedString("Unexpected error");
  if (state_.downloadDidStart) {
    job_.setCurrentAction(JobAction::failed);
    return job_.warning(
        formatted(texts.KQLocalizedString("Failed to download updates for %@. Error occured: %@"),
                  {item_.applicationName, reason}));
  }
  job_.setCurrentAction(JobAction::noConnection);
  return job_.warning(formatted(texts.KQLocalizedString("Could not establish a connection to the "
                                                        "server. Updating failed with error: %@."),
                                {reason}));
}

void UpdateDownload::clearDownloadState() {
  state_.downloadPath.set(std::nullopt);
  state_.totalBytes = 0;
  state_.receivedBytes = 0;
  state_.downloadDidStart = false;
}

void UpdateDownload::clearDownload() {
  removeItem(platform_, state_.downloadPath.get(),
             "[RWInstaller] Failed to remove downloaded file %@");
  clearDownloadState();
}

void removeItem(const Platform& platform, const std::optional<std::string>& path,
                std::string_view failureFormat) {
  if (!path || path->empty()) return;
  if (!platform.fileOperations.removeItemAtPath(*path)) platform.log.NSLog(failureFormat, {path});
}

}  // namespace revwarden
