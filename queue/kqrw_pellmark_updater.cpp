#include "queue/kqrw_pellmark_updater.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "platform/host_application.h"
#include "platform/localization.h"
#include "platform/log.h"
#include "platform/platform.h"
#include "platform/workspace.h"

namespace revwarden {
namespace {

bool isRunning(Workspace& workspace, const std::optional<std::string>& path) {
  const std::vector<std::string> running = workspace.launchedApplicationPaths();
  return path && std::find(running.begin(), running.end(), *path) != running.end();
}

}  // namespace

void KQRWPellmarkUpdater::performInstall() {
  KQRWAppUpdater::performInstall();
  // Intentional: also after a cancellation, and if nothing was installed. Only `failed` counts.
  if (currentAction() == JobAction::failed) return;
  postToMainThread(static_cast<Step>(&KQRWPellmarkUpdater::finishPellmarkUpdate));
}

// Main thread. Posted before the end of the job, so the notice precedes the events of the queue.
// Intentional: sets no live time.
void KQRWPellmarkUpdater::finishPellmarkUpdate() {
  const Localization& texts = platform()->localization;
  HostApplication& host = platform()->host;
  const std::optional<std::string> path = host.hostAppPath();
  HostNotification offer = host.notificationInstance();
  if (path) offer.icon = NotificationIcon{NotificationIcon::Kind::ofFile, *path};
  if (isRunning(platform()->workspace, path)) {
    offer.text =
        texts.KQLocalizedString("Pellmark updated successfully! Would you like to relaunch it?");
    offer.target = shared_from_this();
    offer.button1Text = texts.KQLocalizedString("Relaunch");
    offer.button1Action = "relaunchPellmark";
  } else {
    offer.text =
        texts.KQLocalizedString("Pellmark updated successfully! Would you like to launch it?");
    offer.target = platform()->hostJobs.notificationTarget();
    offer.button1Text = texts.KQLocalizedString("Launch");
    offer.button1Action = "activateHostApp";
  }
  offer.button2Text = texts.KQLocalizedString("Ignore");
  host.showNotification(offer);
}

void KQRWPellmarkUpdater::performAction(std::string_view selector) {
  if (selector == "relaunchPellmark") relaunchPellmark();
}

// Uses a thread, because it waits until the product has quit.
void KQRWPellmarkUpdater::relaunchPellmark() {
  if (detachNewThread(static_cast<Step>(&KQRWPellmarkUpdater::_relaunchPellmark))) return;
  platform()->log.NSLog("Could not shut down Pellmark: %@", {"no thread can be started"});
}

void KQRWPellmarkUpdater::_relaunchPellmark() {
  const Result<> quit = platform()->scripts.executeSource("tell application \"Pellmark\" to quit");
  if (!quit) {
    return platform()->log.NSLog("Could not shut down Pellmark: %@", {quit.error().message});
  }
  platform()->hostJobs.activateHostApp();
}

}  // namespace revwarden
