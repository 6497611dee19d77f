#include "updater/kqrw_app_updater.h"

#include <utility>

#include "catalogue/record_keys.h"
#include "catalogue/update_methods.h"
#include "catalogue/version_info_keys.h"
#include "platform/file_operations.h"
#include "platform/helper.h"
#include "platform/localization.h"
#include "platform/log.h"
#include "platform/platform.h"
#include "platform/run_loop.h"
#include "platform/threads.h"
#include "platform/workspace.h"
#include "updater/download_link.h"

namespace revwarden {
namespace {

std::optional<std::string> textOfOffer(const Dictionary& item, std::string_view key) {
  return item.dictionaryFor(kKQRWAvailableVersionInfoKey).value_or(Dictionary()).textFor(key);
}

std::optional<std::string> urlOf(const std::optional<std::string>& link) {
  return link ? urlFromDownloadLink(*link) : std::nullopt;
}

}  // namespace

KQRWAppUpdater::KQRWAppUpdater(std::shared_ptr<const Platform> platform, const Dictionary& item)
    : platform_(std::move(platform)),
      targetDownloadUrl_(urlOf(textOfOffer(item, kKQRWIDownloadLinkKey))),
      applicationName_(item.textFor(kKQRWApplicationNameKey)),
      applicationPath_(item.textFor(kKQRWApplicationPathKey)),
      applicationBundleId_(item.textFor(kKQRWBundleIdKey)),
      originalAppItemID_(item.textFor(kKQRWIDKey)),
      updateMethod_(textOfOffer(item, kKQRWIUpdateMethodKey).value_or(kKQRWUpdateMethodAuto)) {}

KQRWAppUpdater::~KQRWAppUpdater() = default;

void KQRWAppUpdater::setDelegate(std::weak_ptr<KQRWAppInstallerDelegate> delegate) {
  delegate_ = std::move(delegate);
}

void KQRWAppUpdater::setRootTask(std::shared_ptr<KQHelperTask> rootTask) {
  rootTask_ = std::move(rootTask);
}

void KQRWAppUpdater::start() {
  stopAction_ = false;
  setCurrentAction(JobAction::starting);
  if (const auto delegate = delegate_.lock()) delegate->appInstallerDidStart(*this);
  if (updateMethod_ == kKQRWUpdateMethodManual) {
    // Nobody asks whether it opened: the user has been sent there, and that is all there is to do.
    if (targetDownloadUrl_) {
      platform_->workspace.openURL_whenOpened(*targetDownloadUrl_, [](bool) {});
    }
    setCurrentAction(JobAction::handedToBrowser);
    return notifyAppInstallerDidFinishSuccessfully();
  }
  const bool complete = targetDownloadUrl_ && applicationName_ && applicationPath_;
  if (complete && downloadPath()) return startInstall();
  if (complete && detachNewThread(&KQRWAppUpdater::performDownload)) return;
  setCurrentAction(JobAction::failed);
  notifyAppInstallerDidFail();
}

void KQRWAppUpdater::cancel() {
  stopDownload();
  if (currentAction_ == JobAction::downloading) clearDownloadState();
  stopAction_ = true;
  if (!installRunning_) return notifyAppInstallerDidFail();
  while (installRunning_ || unreportedEnds_ > 0) {
    const auto turn = platform_->mainLoop.runOneTurn(RunLoopMode::defaultMode);
    if (turn == RunLoop::Turn::nothingToRun) break;
  }
}

SimpleAction KQRWAppUpdater::simpleCurrentAction() const {
  return stopAction_ ? SimpleAction::failed : simpleAction(currentAction_);
}

bool KQRWAppUpdater::detachNewThread(Step body) {
  return platform_->threads.detachNewThread(
      [platform = platform_, job = shared_from_this(), body]() mutable {
        ((*job).*body)();
        // The job must not be destroyed on this thread.
        platform->mainLoop.post([last = std::move(job)] {});
      });
}

void KQRWAppUpdater::postToMainThread(Step call) {
  platform_->mainLoop.post([job = shared_from_this(), call] { ((*job).*call)(); });
}

void KQRWAppUpdater::performOnMainThreadAndWait(Step call) {
  platform_->mainLoop.postAndWait([this, call] { (this->*call)(); });
}

void KQRWAppUpdater::setCurrentAction(JobAction action) {
  currentAction_ = action;
  updateStatus();
}

void KQRWAppUpdater::updateStatus() {
  postToMainThread(&KQRWAppUpdater::didUpdateStatus);
}

void KQRWAppUpdater::didUpdateStatus() {
  if (const auto delegate = delegate_.lock()) delegate->appInstallerDidUpdateStatus(*this);
}

void KQRWAppUpdater::notifyAppInstallerDidFinishSuccessfully() {
  if (const auto delegate = delegate_.lock())
    delegate->appInstaller_didFinishSuccessfully(*this, true);
}

void KQRWAppUpdater::notifyAppInstallerDidFail() {
  if (const auto delegate = delegate_.lock())
    delegate->appInstaller_didFinishSuccessfully(*this, false);
}

void KQRWAppUpdater::notifyAppInstallerFailedAndStoppedQueue() {
  if (const auto delegate = delegate_.lock()) delegate->appInstallerFailedAndStoppedQueue(*this);
}

void KQRWAppUpdater::clearDownloadState() {
  downloadPath_.set(std::nullopt);
  totalBytes_ = 0;
  receivedBytes_ = 0;
  downloadDidStart_ = false;
}

void KQRWAppUpdater::clearDownload() {
  clearItem(downloadPath_, "[RWInstaller] Failed to remove downloaded file %@");
  clearDownloadState();
}

void KQRWAppUpdater::clearResources() {
  clearItem(resourcesPath_, "[RWInstaller] Failed to remove resource file %@");
  resourcesPath_.set(std::nullopt);
}

void KQRWAppUpdater::clearItem(const Guarded<std::optional<std::string>>& path,
                               std::string_view failureFormat) {
  const std::optional<std::string> item = path.get();
  if (!item || item->empty()) return;
  if (!platform_->fileOperations.removeItemAtPath(*item)) {
    platform_->log.NSLog(failureFormat, {item});
  }
}

HostNotification KQRWAppUpdater::warning(std::string text) {
  HostNotification notice = platform_->host.notificationInstance();
  notice.text = std::move(text);
  notice.button1Text = platform_->localization.KQLocalizedString("OK");
  notice.icon = NotificationIcon{NotificationIcon::Kind::named, "DraggingViewWarningIcon"};
  notice.target = shared_from_this();
  notice.liveTime = 10.0;
  return notice;
}

}  // namespace revwarden
