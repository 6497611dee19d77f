#include <algorithm>
#include <map>
#include <memory>
#include <utility>

#include "base/text.h"
#include "catalogue/update_methods.h"
#include "platform/bundle.h"
#include "platform/child_process.h"
#include "platform/file_operations.h"
#include "platform/helper.h"
#include "platform/localization.h"
#include "platform/log.h"
#include "platform/platform.h"
#include "platform/run_loop.h"
#include "platform/workspace.h"
#include "updater/disk_image.h"
#include "updater/kqrw_app_updater.h"
#include "updater/new_application.h"

// The installation of an update job, on its own thread unless a step says otherwise. Files that it
// unpacked or mounted stay where they are when it fails.
namespace revwarden {

void KQRWAppUpdater::startInstall() {
  if (detachNewThread(&KQRWAppUpdater::_performInstallThread)) return;
  setCurrentAction(JobAction::failed);
  ++unreportedEnds_;
  postToMainThread(&KQRWAppUpdater::onStopInstall);
}

void KQRWAppUpdater::_performInstallThread() {
  installRunning_ = true;
  performInstall();
  ++unreportedEnds_;
  installRunning_ = false;
  postToMainThread(&KQRWAppUpdater::onStopInstall);
}

// Main thread. Whatever was left undone counts as success, unless it failed or was cancelled.
void KQRWAppUpdater::onStopInstall() {
  --unreportedEnds_;
  if (stopAction_ || currentAction_ == JobAction::failed) return notifyAppInstallerDidFail();
  notifyAppInstallerDidFinishSuccessfully();
}

void KQRWAppUpdater::performInstall() {
  resourcesPath_.set(std::nullopt);
  if (updateMethod_ == kKQRWUpdateMethodDownloadAndReveal) return revealDownload();
  if (stopAction_) return;
  const std::optional<std::string> unpacked = unzipTarget(downloadPath());
  if (stopAction_) return;
  const std::optional<std::string> imagePath = unpacked ? imageIn(*unpacked) : downloadPath();
  if (stopAction_) return;
  if (updateMethod_ == kKQRWUpdateMethodDownloadAndMount) return mountForUser(imagePath);

  setCurrentAction(JobAction::mounting);
  const std::optional<std::string> mountPoint =
      attachDiskImage(*platform_, imagePath, ImageShows::nowhere);
  if (stopAction_) return;
  resourcesPath_.set(mountPoint ? mountPoint : unpacked ? unpacked : downloadPath());
  const std::optional<std::string> pathToLaunch =
      updateAppFromResourcePathReturningPathToLaunch(resourcesPath());
  if (stopAction_) return;  // the image stays attached
  if (mountPoint) {
    finishUpdateWithMountPoint_mountPath_andPathToLaunch(*mountPoint, imagePath, pathToLaunch);
  } else {
    installPackageFile(resourcesPath());  // a package in an archive is found, but not run
  }
  if (currentAction_ == JobAction::failed) showFailure();
}

void KQRWAppUpdater::revealDownload() {
  if (const auto path = downloadPath()) {
    platform_->workspace.selectFile_inFileViewerRootedAtPath(*path, downloadsFolder());
  }
  setCurrentAction(JobAction::done);
}

// The delegate hears of the end here and again when the installation has ended.
void KQRWAppUpdater::mountForUser(const std::optional<std::string>& imagePath) {
  const std::optional<std::string> mountPoint =
      attachDiskImage(*platform_, imagePath, ImageShows::opened);
  platform_->log.NSLog(
      "[RWInstaller] Install method requires to mount image (path=%@) and finish install.",
      {mountPoint});
  setCurrentAction(JobAction::done);
  postToMainThread(&KQRWAppUpdater::notifyAppInstallerDidFinishSuccessfully);
}

std::optional<std::string> KQRWAppUpdater::unzipTarget(const std::optional<std::string>& path) {
  setCurrentAction(JobAction::unpacking);
  if (!path) return std::nullopt;
  const std::string target = std::string(deletingPathExtension(*path)) + ".unpacked";
  ChildProcess unzip;
  unzip.program = "/usr/bin/unzip";
  unzip.arguments = {"-q", "-o", *path, "-d", target};
  const std::optional<ChildProcesses::Completion> result = platform_->children.run(unzip);
  if (result && result->exitStatus == 0) return target;
  platform_->fileOperations.removeItemAtPath(target);
  return std::nullopt;
}

// Full paths. Names that are not UTF-8 could be told to nobody and are left out.
std::vector<std::string> KQRWAppUpdater::contentsOf(const std::string& folder) const {
  std::vector<std::string> paths;
  for (const std::string& name : platform_->fileOperations.contentsOfDirectoryAtPath(folder)) {
    if (isValidUtf8(name)) paths.push_back(std::string(folder).append("/").append(name));
  }
  return paths;
}

std::optional<std::string> KQRWAppUpdater::imageIn(const std::string& folder) const {
  const std::vector<std::string> paths = contentsOf(folder);
  const auto found = std::find_if(paths.begin(), paths.end(), [](const std::string& path) {
    return asciiUpperCase(path).ends_with(".DMG");
  });
  return found == paths.end() ? std::nullopt : std::optional(*found);
}

std::optional<std::string> KQRWAppUpdater::updateAppFromResourcePathReturningPathToLaunch(
    const std::optional<std::string>& resources) {
  if (!resources || stopAction_) {
    setCurrentAction(JobAction::failed);
    return std::nullopt;
  }
  setCurrentAction(JobAction::searching);
  std::vector<std::string> candidates = contentsOf(*resources);
  candidates.insert(candidates.begin(), *resources);
  const std::optional<std::string> application = newApplicationAmong(
      platform_->bundles, candidates, {applicationBundleId_, *applicationName_});
  if (application && asciiUpperCase(pathExtension(*application)) == "APP") {
    replaceApplicationWith(*application);
    return std::nullopt;
  }
  std::optional<std::string> package = packageAmong(candidates);
  if (!package) setCurrentAction(JobAction::failed);
  return package;
}

// An old application that is in the Trash stays there, whatever becomes of the copy.
void KQRWAppUpdater::replaceApplicationWith(const std::string& newApplication) {
  platform_->mainLoop.postAndWait([this] {
    const auto watcher = platform_->hostJobs.instanceWithClassName("KQUninstallerAgent");
    if (watcher) watcher->addSilentRemoveBundleID(applicationBundleId_.value_or(""));
  });
  if (!moveOldApplicationToTrash()) return setCurrentAction(JobAction::failed);
  setCurrentAction(JobAction::copying);
  const bool copied = copyNewApplication(newApplication);
  setCurrentAction(copied ? JobAction::done : JobAction::failed);
}

bool KQRWAppUpdater::moveOldApplicationToTrash() {
  if (rootTask_) return rootTask_->moveItemAtPathToTrash(*applicationPath_).ok();
  return platform_->fileOperations.moveItemAtPathToTrash(*applicationPath_).ok();
}

bool KQRWAppUpdater::copyNewApplication(const std::string& newApplication) {
  if (rootTask_)
    return rootTask_->performCopyItemAtPath_toPath(newApplication, *applicationPath_).ok();
  return platform_->fileOperations.copyDirectoryAtPath_toPath(newApplication, *applicationPath_)
      .ok();
}

void KQRWAppUpdater::finishUpdateWithMountPoint_mountPath_andPathToLaunch(
    const std::string& mountPoint, const std::optional<std::string>& imagePath,
    const std::optional<std::string>& pathToLaunch) {
  if (stopAction_) return;
  detachDiskImage(*platform_, mountPoint);
  if (currentAction_ == JobAction::done) return;
  const std::optional<std::string> shownAt =
      attachDiskImage(*platform_, imagePath, ImageShows::amongVolumes);
  if (!pathToLaunch) {
    attachDiskImage(*platform_, imagePath, ImageShows::opened);
    return setCurrentAction(JobAction::failed);
  }
  if (platform_->workspace.openURL(fileURLWithPath(*pathToLaunch))) {
    return setCurrentAction(JobAction::done);
  }
  setCurrentAction(JobAction::failed);
  if (shownAt) platform_->workspace.openURL(fileURLWithPath(*shownAt));
}

// The outcome is stored without a report: the record stays at what it was.
void KQRWAppUpdater::installPackageFile(const std::optional<std::string>& path) {
  if (!rootTask_ || !path || !hasPackageExtension(*path)) return;
  const std::string script = platform_->bundles.pathForPluginResource("installPkg").value_or("");
  const Result<> ran = rootTask_->performAction_withArguments(
      "runScript", {{"SCRIPT", script}, {"PKG_PATH", *path}});
  if (!ran) {
    platform_->log.KQLog("Update package from %@ failed with error %@.",
                         {path, ran.error().message});
  }
  currentAction_ = ran ? JobAction::done : JobAction::failed;
}

void KQRWAppUpdater::showFailure() {
  const std::string format =
      platform_->localization.KQLocalizedString("Failed to update application %@");
  platform_->mainLoop.post(
      [platform = platform_, notice = warning(formatted(format, {applicationName_}))] {
        platform->host.showNotification(notice);
      });
}

}  // namespace revwarden
