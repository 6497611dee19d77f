#include <memory>
#include <utility>

#include "base/text.h"
#include "catalogue/update_methods.h"
#include "platform/clock.h"
#include "platform/file_manager.h"
#include "platform/file_operations.h"
#include "platform/localization.h"
#include "platform/log.h"
#include "platform/platform.h"
#include "platform/workspace.h"
#include "updater/kqrw_app_updater.h"

// The download of an update job. All of it but `downloadsFolder` runs on the download's thread.
namespace revwarden {
namespace {

constexpr double kProgressInterval = 0.04;  // seconds

std::string pathInFolder(std::string folder, std::string_view name) {
  if (!folder.ends_with('/')) folder += '/';
  return folder.append(name);
}

// The types are compared as the server spelled them.
bool isAcceptedType(std::string_view mimeType) {
  return mimeType.find("zip") != mimeType.npos || mimeType == "application/octet-stream" ||
         mimeType == "application/x-apple-diskimage";
}

// A name from a bundle may hold anything; as the file viewer does, ":" stands for a slash.
std::string fileNameFor(std::string applicationName) {
  for (char& c : applicationName) {
    if (c == '/') c = ':';
  }
  return applicationName + ".dat";
}

}  // namespace

void KQRWAppUpdater::performDownload() {
  const auto download = platform_->downloads.beginDownload(*targetDownloadUrl_, *this);
  // A cancellation from before this moment is forgotten; the first response brings it to light.
  downloadCanceled_ = false;
  while (!downloadCanceled_ && download->runOneTurn()) {
  }
}

void KQRWAppUpdater::download_didReceiveResponse(const URLDownloadResponse& response) {
  if (downloadDidStart_.exchange(true)) return;
  if (stopAction_) return stopDownload();
  if (!isAcceptedType(response.mimeType)) return openRefusedContent();
  setCurrentAction(JobAction::downloading);
  totalBytes_ = response.expectedLength;
  receivedBytes_ = 0;
}

// What cannot be installed is most likely the vendor's page: the user gets to see that.
void KQRWAppUpdater::openRefusedContent() {
  stopDownload();
  clearDownload();
  platform_->log.NSLog("[RWInstaller] Invalid content. Open target URL in browser.");
  if (platform_->workspace.openURL(*targetDownloadUrl_)) {
    setCurrentAction(JobAction::handedToBrowser);
    performOnMainThreadAndWait(&KQRWAppUpdater::notifyAppInstallerDidFinishSuccessfully);
  } else {
    setCurrentAction(JobAction::failed);
    performOnMainThreadAndWait(&KQRWAppUpdater::notifyAppInstallerDidFail);
    platform_->log.NSLog("[RWInstaller] failed to open %@ in browser", {targetDownloadUrl_});
  }
}

std::string KQRWAppUpdater::download_decideDestinationWithSuggestedFilename(
    const std::optional<std::string>& name) {
  const std::string folder = updateMethod_ == kKQRWUpdateMethodAuto
                                 ? platform_->files.temporaryDirectory()
                                 : downloadsFolder();
  std::string path = pathInFolder(folder, name ? *name : fileNameFor(*applicationName_));
  downloadPath_.set(path);
  return path;
}

std::string KQRWAppUpdater::downloadsFolder() const {
  const std::vector<std::string> folders = platform_->fileOperations.downloadsDirectories();
  if (!folders.empty()) return folders.front();
  return pathInFolder(platform_->fileOperations.homeDirectory(), "Downloads");
}

void KQRWAppUpdater::download_didReceiveDataOfLength(int64_t length) {
  receivedBytes_ += length;
  const double now = platform_->clock.now().secondsSince1970;
  if (now - statusUpdateTime_ <= kProgressInterval) return;
  statusUpdateTime_ = now;
  updateStatus();
}

void KQRWAppUpdater::downloadDidFinish() {
  if (downloadCanceled_) return;
  stopDownload();
  setCurrentAction(JobAction::downloaded);
  startInstall();
}

void KQRWAppUpdater::download_didFailWithError(const URLDownloadError& error) {
  stopDownload();
  clearDownloadState();
  platform_->host.showNotification(downloadDidFailNotificationWithError(error));
  performOnMainThreadAndWait(&KQRWAppUpdater::notifyAppInstallerFailedAndStoppedQueue);
}

HostNotification KQRWAppUpdater::downloadDidFailNotificationWithError(
    const URLDownloadError& error) {
  const Localization& texts = platform_->localization;
  const std::string reason = error.localizedFailureReason ? *error.localizedFailureReason
                             : error.localizedDescription
                                 ? *error.localizedDescription
                                 : texts.KQLocalizedString("Unexpected error");
  if (downloadDidStart_) {
    setCurrentAction(JobAction::failed);
    return warning(
        formatted(texts.KQLocalizedString("Failed to download updates for %@. Error occured: %@"),
                  {applicationName_, reason}));
  }
  setCurrentAction(JobAction::noConnection);
  return warning(formatted(texts.KQLocalizedString("Could not establish a connection to the "
                                                   "server. Updating failed with error: %@."),
                           {reason}));
}

}  // namespace revwarden
