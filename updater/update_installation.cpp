#include "updater/update_installation.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "catalogue/version_info_keys.h"
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
#include "updater/download_location.h"
#include "updater/new_application.h"
#include "updater/update_download.h"

// From a download to the replaced application, by the platform's files, child processes and helper.
namespace revwarden {
namespace {

using Done = JobResult::Done;

constexpr int kUnzipDiskFull = 50;  // exit status

std::string nameOf(const std::string& path) {
  return std::string(lastPathComponent(path));
}

// Returns the first few names of these paths, for a message.
std::string listed(const std::vector<std::string>& paths) {
  constexpr size_t kShown = 5;
  std::string names;
  for (size_t i = 0; i < paths.size() && i < kShown; ++i) {
    names += (i == 0 ? "" : ", ") + nameOf(paths[i]);
  }
  return names.empty() ? "nothing" : names + (paths.size() > kShown ? ", ..." : "");
}

}  // namespace

UpdateInstallation::UpdateInstallation(std::shared_ptr<const Platform> platform,
                                       const JobItem& item, JobState& state, Mediator& job)
    : platform_(std::move(platform)), item_(item), state_(state), job_(job) {}

void UpdateInstallation::performInstall() {
  state_.resourcesPath.set(std::nullopt);
  // Intentional: this method does not check `stopAction`.
  if (item_.updateMethod == kKQRWUpdateMethodDownloadAndReveal) return revealDownload();
  if (state_.stopAction) return;
  const std::optional<std::string> unpacked = unzipTarget(state_.downloadPath.get());
  if (state_.stopAction) return;
  const std::optional<std::string> imagePath =
      unpacked ? imageIn(*unpacked) : state_.downloadPath.get();
  if (state_.stopAction) return;
  if (item_.updateMethod == kKQRWUpdateMethodDownloadAndMount) return mountForUser(imagePath);
  installFrom(imagePath, unpacked);
}

// If the image cannot be attached, the unpacked folder is used, else the download as it is.
void UpdateInstallation::installFrom(const std::optional<std::string>& imagePath,
                                     const std::optional<std::string>& unpacked) {
  job_.setCurrentAction(JobAction::mounting);
  const Result<std::string> mounted = attachDiskImage(*platform_, imagePath, ImageShows::nowhere);
  if (state_.stopAction) return;
  const std::optional<std::string> resources = mounted    ? *mounted
                                               : unpacked ? unpacked
                                                          : state_.downloadPath.get();
  state_.resourcesPath.set(resources);
  const std::optional<std::string> pathToLaunch =
      updateAppFromResourcePathReturningPathToLaunch(resources);
  if (state_.currentAction == JobAction::failed && resources) {
    const bool isNoImage = !mounted && resources == imagePath;
    explainMissingApplication(*resources, isNoImage ? mounted.error().message : "");
  }
  if (state_.stopAction) return;  // Intentional: the image stays attached.
  if (mounted) {
    finishUpdateWithMountPoint_mountPath_andPathToLaunch(*mounted, imagePath, pathToLaunch);
  } else {
    // Intentional: a package in an archive is found, but not run, and the job counts as a success.
    // Only a package that was downloaded as such is run.
    installPackageFile(resources);
    if (pathToLaunch) {
      state_.explain("nothingInstalled",
                     nameOf(*pathToLaunch) + " is a package, which was not run");
    }
  }
  if (state_.currentAction == JobAction::failed) showFailure();
}

void UpdateInstallation::revealDownload() {
  const std::string path = state_.downloadPath.get().value_or("");
  if (!path.empty() &&
      platform_->workspace.selectFile_inFileViewerRootedAtPath(path, downloadsFolder(*platform_))) {
    state_.conclude(Done::handedOver, {"fileRevealed", "shown in the file viewer: " + path});
  } else {
    state_.explain("nothingInstalled",
                   "downloaded, but the file viewer cannot show the file: " + path);
  }
  job_.setCurrentAction(JobAction::done);
}

// Intentional: reports success here, and again when the installation has ended.
void UpdateInstallation::mountForUser(const std::optional<std::string>& imagePath) {
  const Result<std::string> mounted = attachDiskImage(*platform_, imagePath, ImageShows::opened);
  platform_->log.NSLog(
      "[RWInstaller] Install method requires to mount image (path=%@) and finish install.",
      {mounted ? std::optional(*mounted) : std::nullopt});
  if (mounted) {
    state_.conclude(
        Done::handedOver,
        {"imageOpened", "the disk image was opened, to be installed from there: " + *mounted});
  } else {
    state_.explain("nothingInstalled", "no disk image could be opened: " + mounted.error().message);
  }
  job_.setCurrentAction(JobAction::done);
  job_.postDidFinishSuccessfully();
}

std::optional<std::string> UpdateInstallation::unzipTarget(const std::optional<std::string>& path) {
  job_.setCurrentAction(JobAction::unpacking);
  if (!path) return std::nullopt;
  // Intentional: files that an earlier run left in this folder take part in the search.
  const std::string target = std::string(deletingPathExtension(*path)) + ".unpacked";
  ChildProcess unzip;
  unzip.program = "/usr/bin/unzip";
  unzip.arguments = {"-q", "-o", *path, "-d", target};
  const std::optional<ChildProcesses::Completion> ran = platform_->children.run(unzip);
  // Intentional: warnings (status 1) count as failure. Images and packages always fail here.
  if (ran && ran->exitStatus == 0) return target;
  if (ran && ran->exitStatus == kUnzipDiskFull) {
    state_.explain("noSpace", "no space left to unpack " + *path);
  }
  platform_->fileOperations.removeItemAtPath(target);
  return std::nullopt;
}

// Returns full paths. Omits names that are not UTF-8, because they cannot be reported or saved.
std::vector<std::string> UpdateInstallation::contentsOf(const std::string& folder) const {
  std::vector<std::string> paths;
  for (const std::string& name : platform_->fileOperations.contentsOfDirectoryAtPath(folder)) {
    if (isValidUtf8(name)) paths.push_back(std::string(folder).append("/").append(name));
  }
  return paths;
}

std::optional<std::string> UpdateInstallation::imageIn(const std::string& folder) const {
  const std::vector<std::string> paths = contentsOf(folder);
  const auto found = std::find_if(paths.begin(), paths.end(), [](const std::string& path) {
    return asciiUpperCase(path).ends_with(".DMG");
  });
  return found == paths.end() ? std::nullopt : std::optional(*found);
}

std::optional<std::string> UpdateInstallation::updateAppFromResourcePathReturningPathToLaunch(
    const std::optional<std::string>& resources) {
  if (!resources || state_.stopAction) {
    job_.setCurrentAction(JobAction::failed);
    return std::nullopt;
  }
  job_.setCurrentAction(JobAction::searching);
  std::vector<std::string> candidates = contentsOf(*resources);
  candidates.insert(candidates.begin(), *resources);
  const std::optional<std::string> application = newApplicationAmong(
      platform_->bundles, candidates, {item_.applicationBundleId, *item_.applicationName});
  if (application && asciiUpperCase(pathExtension(*application)) == "APP") {
    replaceApplicationWith(*application);
    return std::nullopt;
  }
  // Intentional: if there is a package, the step stays `searching`, which counts as success.
  std::optional<std::string> package = packageAmong(candidates);
  if (!package) job_.setCurrentAction(JobAction::failed);
  return package;
}

void UpdateInstallation::explainMissingApplication(const std::string& resources,
                                                   const std::string& attachError) {
  const std::string what =
      attachError.empty()
          ? "contains " + listed(contentsOf(resources))
          : "cannot be opened as a zip archive or a disk image (" + attachError + ")";
  state_.explain("noApplication", "no application " + *item_.applicationName +
                                      " was found: " + nameOf(resources) + " " + what);
}

void UpdateInstallation::replaceApplicationWith(const std::string& newApplication) {
  platform_->mainLoop.postAndWait([this] {
    const auto watcher = platform_->hostJobs.instanceWithClassName("KQUninstallerAgent");
    if (watcher) watcher->addSilentRemoveBundleID(item_.applicationBundleId.value_or(""));
  });
  if (!moveOldApplicationToTrash()) return job_.setCurrentAction(JobAction::failed);
  job_.setCurrentAction(JobAction::copying);
  // Intentional: if the copy fails, the old application stays in the Trash.
  const bool copied = copyNewApplication(newApplication);
  job_.setCurrentAction(copied ? JobAction::done : JobAction::failed);
}

bool UpdateInstallation::moveOldApplicationToTrash() {
  const std::string& path = *item_.applicationPath;
  const Result<std::string> trashed = state_.rootTask
                                          ? state_.rootTask->moveItemAtPathToTrash(path)
                                          : platform_->fileOperations.moveItemAtPathToTrash(path);
  if (trashed) {
    state_.result.update([&](JobResult& result) {
      result.leftTraces = true;
      if (!trashed->empty()) result.trashed = *trashed;
    });
    return true;
  }
  const Error& error = trashed.error();
  state_.explain(error.code == "noSpace" ? error.code : "trashFailed",
                 "the installed version cannot be moved to the Trash: " + error.message);
  return false;
}

bool UpdateInstallation::copyNewApplication(const std::string& newApplication) {
  const std::string& path = *item_.applicationPath;
  const bool isReadable = platform_->bundles.threadSafeBundleWithPath(newApplication) != nullptr;
  const Result<> copied =
      state_.rootTask ? state_.rootTask->performCopyItemAtPath_toPath(newApplication, path)
                      : platform_->fileOperations.copyDirectoryAtPath_toPath(newApplication, path);
  const std::string name = nameOf(newApplication);
  if (copied) {
    state_.conclude(Done::replaced,
                    isReadable
                        ? Error()
                        : Error{"unreadableApplication",
                                name + " was installed, but its information cannot be read"});
    return true;
  }
  const Error& error = copied.error();
  if (error.code == "notFolder" || !isReadable) {
    state_.explain("unreadableApplication",
                   name + " in the download cannot be read as an application: " + error.message);
  } else {
    state_.explain(error.code == "noSpace" ? error.code : "copyFailed",
                   "the new version cannot be copied: " + error.message);
  }
  return false;
}

void UpdateInstallation::finishUpdateWithMountPoint_mountPath_andPathToLaunch(
    const std::string& mountPoint, const std::optional<std::string>& imagePath,
    const std::optional<std::string>& pathToLaunch) {
  if (state_.stopAction) return;
  detachDiskImage(*platform_, mountPoint);
  if (state_.currentAction == JobAction::done) return;
  const Result<std::string> shown =
      attachDiskImage(*platform_, imagePath, ImageShows::amongVolumes);
  if (!pathToLaunch) {
    // Intentional: attaches the image again, this time with a window for the user.
    (void)attachDiskImage(*platform_, imagePath, ImageShows::opened);
    return job_.setCurrentAction(JobAction::failed);
  }
  if (platform_->workspace.openURL(fileURLWithPath(*pathToLaunch))) {
    state_.conclude(Done::handedOver,
                    {"packageOpened", "the installer package was opened: " + *pathToLaunch});
    return job_.setCurrentAction(JobAction::done);
  }
  state_.explain("packageNotOpened", "the installer package could not be opened: " + *pathToLaunch);
  job_.setCurrentAction(JobAction::failed);
  if (shown) platform_->workspace.openURL(fileURLWithPath(*shown));
}

// Does nothing without administrator rights or if the path is not a package. Intentional: sets the
// step without a status report, so the record keeps the previous one.
void UpdateInstallation::installPackageFile(const std::optional<std::string>& path) {
  if (!state_.rootTask || !path || !hasPackageExtension(*path)) return;
  const std::string script = platform_->bundles.pathForPluginResource("installPkg").value_or("");
  const Result<> ran = state_.rootTask->performAction_withArguments(
      "runScript", {{"SCRIPT", script}, {"PKG_PATH", *path}});
  if (ran) {
    state_.conclude(Done::packageRun);
  } else {
    state_.result.update([](JobResult& result) { result.leftTraces = true; });
    state_.explain("packageFailed", "the package was not installed: " + ran.error().message);
    platform_->log.KQLog("Update package from %@ failed with error %@.",
                         {path, ran.error().message});
  }
  state_.currentAction = ran ? JobAction::done : JobAction::failed;
}

void UpdateInstallation::showFailure() {
  const std::string format =
      platform_->localization.KQLocalizedString("Failed to update application %@");
  platform_->mainLoop.post(
      [platform = platform_, notice = job_.warning(formatted(format, {item_.applicationName}))] {
        platform->host.showNotification(notice);
      });
}

void UpdateInstallation::clearResources() {
  removeItem(*platform_, state_.resourcesPath.get(),
             "[RWInstaller] Failed to remove resource file %@");
  state_.resourcesPath.set(std::nullopt);
}

}  // namespace revwarden
