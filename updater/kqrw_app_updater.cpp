#include "updater/kqrw_app_updater.h"

#include <utility>

#include "catalogue/version_info_keys.h"
#include "platform/helper.h"
#include "platform/localization.h"
#include "platform/platform.h"
#include "platform/run_loop.h"
#include "platform/threads.h"
#include "platform/workspace.h"

namespace revwarden {

KQRWAppUpdater::KQRWAppUpdater(std::shared_ptr<const Platform> platform, const Dictionary& item)
    : platform_(std::move(platform)),
      item_(item),
      download_(*platform_, item_, state_, *this),
      installation_(platform_, item_, state_, *this) {}

KQRWAppUpdater::~KQRWAppUpdater() = default;

void KQRWAppUpdater::setDelegate(std::weak_ptr<KQRWAppInstallerDelegate> delegate) {
  delegate_ = std::move(delegate);
}

void KQRWAppUpdater::setRootTask(std::shared_ptr<KQHelperTask> rootTask) {
  state_.rootTask = std::move(rootTask);
}

void KQRWAppUpdater::start() {
  state_.stopAction = false;
  setCurrentAction(JobAction::starting);
  if (const auto delegate = delegate_.lock()) delegate->appInstallerDidStart(*this);
  if (item_.updateMethod == kKQRWUpdateMethodManual) {
    // Intentional: the job succeeds even without a link or if the page cannot be opened. Only its
    // verdict says so.
    openPage();
    setCurrentAction(JobAction::handedToBrowser);
    return notifyAppInstallerDidFinishSuccessfully();
  }
  if (!item_.targetDownloadUrl) {
    state_.explain("noLink", "the offer has no download link");
  } else if (!item_.applicationName || !item_.applicationPath) {
    state_.explain("incompleteRecord", "the application's record has no name or no path");
  } else if (downloadPath()) {
    return startInstall();
  } else if (detachNewThread(&KQRWAppUpdater::performDownload)) {
    return;
  }
  setCurrentAction(JobAction::failed);
  notifyAppInstallerDidFail();
}

void KQRWAppUpdater::openPage() {
  if (!item_.targetDownloadUrl) return state_.explain("noLink", "the offer has no link to a page");
  pageIsOpening_ = true;
  platform_->workspace.openURL_whenOpened(
      *item_.targetDownloadUrl, [platform = platform_, weak = weak_from_this()](bool opened) {
        platform->mainLoop.post([weak, opened] {
          if (const auto job = weak.lock()) job->pageDidOpen(opened);
        });
      });
}

void KQRWAppUpdater::pageDidOpen(bool opened) {
  const std::string& page = *item_.targetDownloadUrl;
  if (opened) {
    state_.conclude(JobResult::Done::handedOver, {"pageOpened", "opened in the browser: " + page});
  } else {
    state_.explain("pageNotOpened", "the page could not be opened: " + page);
  }
  pageIsOpening_ = false;
  if (const auto handler = std::exchange(verdictHandler_, nullptr)) whenVerdictIsKnown(handler);
}

void KQRWAppUpdater::whenVerdictIsKnown(std::function<void(const JobVerdict&)> handler) {
  if (pageIsOpening_) {
    verdictHandler_ = std::move(handler);
  } else {
    handler(verdictOf(state_.result.get(), state_.stopAction));
  }
}

void KQRWAppUpdater::cancel() {
  download_.stopDownload();
  // Before `stopAction` is set, and without a report, so the record keeps its last step.
  if (currentAction() == JobAction::downloading) download_.clearDownloadState();
  state_.stopAction = true;
  // Intentional: does not wait for the download thread, which may be waiting for the main thread.
  // An installation that starts at this moment reports the end a second time.
  if (!state_.installRunning) return notifyAppInstallerDidFail();
  while (state_.installRunning || unreportedEnds_ > 0) {
    const auto turn = platform_->mainLoop.runOneTurn(RunLoopMode::defaultMode);
    if (turn == RunLoop::Turn::nothingToRun) break;
  }
}

SimpleAction KQRWAppUpdater::simpleCurrentAction() const {
  return state_.stopAction ? SimpleAction::failed : simpleAction(currentAction());
}

void KQRWAppUpdater::startInstall() {
  if (detachNewThread(&KQRWAppUpdater::_performInstallThread)) return;
  setCurrentAction(JobAction::failed);
  ++unreportedEnds_;
  postToMainThread(&KQRWAppUpdater::onStopInstall);
}

void KQRWAppUpdater::_performInstallThread() {
  state_.installRunning = true;
  performInstall();
  ++unreportedEnds_;
  state_.installRunning = false;
  postToMainThread(&KQRWAppUpdater::onStopInstall);
}

// Main thread. Intentional: every step except `failed` counts as success, even an intermediate one.
void KQRWAppUpdater::onStopInstall() {
  --unreportedEnds_;
  if (state_.stopAction || currentAction() == JobAction::failed) return notifyAppInstallerDidFail();
  notifyAppInstallerDidFinishSuccessfully();
}

bool KQRWAppUpdater::detachNewThread(Step body) {
  auto thread = [platform = platform_, job = shared_from_this(), body]() mutable {
    ((*job).*body)();
    // If this is the last reference, the job is destroyed on the main thread.
    platform->mainLoop.post([last = std::move(job)] {});
  };
  if (platform_->threads.detachNewThread(std::move(thread))) return true;
  state_.explain("noThread", "the system cannot start another thread");
  return false;
}

void KQRWAppUpdater::postToMainThread(Step call) {
  platform_->mainLoop.post([job = shared_from_this(), call] { ((*job).*call)(); });
}

void KQRWAppUpdater::setCurrentAction(JobAction action) {
  state_.currentAction = action;
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

void KQRWAppUpdater::didFinishAndWait(bool successfully) {
  platform_->mainLoop.postAndWait([this, successfully] {
    successfully ? notifyAppInstallerDidFinishSuccessfully() : notifyAppInstallerDidFail();
  });
}

void KQRWAppUpdater::failedAndStoppedQueueAndWait() {
  platform_->mainLoop.postAndWait([this] {
    if (const auto delegate = delegate_.lock()) delegate->appInstallerFailedAndStoppedQueue(*this);
  });
}

void KQRWAppUpdater::postDidFinishSuccessfully() {
  postToMainThread(&KQRWAppUpdater::notifyAppInstallerDidFinishSuccessfully);
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
