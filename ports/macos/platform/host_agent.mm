#import "ports/macos/platform/host_agent.h"

#import <AppKit/AppKit.h>

#import "ports/macos/platform/exception_guard.h"
#import "ports/macos/platform/foundation_values.h"
#include "ports/macos/platform/full_path.h"
#import "ports/macos/platform/host_agent_application.h"
#import "ports/macos/platform/retained.h"

namespace revwarden {
namespace {

id<KQHostAgentApplication> application() {
  return (id<KQHostAgentApplication>)KQRWGuarded([NSApp delegate]);
}

// The application as the target of notices whose button it handles.
class ApplicationTarget final : public NotificationTarget {
 public:
  void performAction(std::string_view selector) override {
    const AutoreleasePool pool;
    if (selector == "activateHostApp") [application() activateHostApp];
  }
};

class UserInterfaceProxy final : public HostAppProxy {
 public:
  explicit UserInterfaceProxy(id proxy) : proxy_(KQRWGuarded(proxy)) {}

  void openRevwarden() override {
    const AutoreleasePool pool;
    [(id<KQHostAppProxy>)proxy_.get() openRevwarden];
  }

 private:
  const Retained proxy_;
};

class UninstallerAgent final : public KQUninstallerAgent {
 public:
  explicit UninstallerAgent(id agent) : agent_(KQRWGuarded(agent)) {}

  void addSilentRemoveBundleID(std::string_view bundleId) override {
    const AutoreleasePool pool;
    [(id<KQUninstallerAgent>)agent_.get() addSilentRemoveBundleID:foundationText(bundleId)];
  }

 private:
  const Retained agent_;
};

NSImage* image(const NotificationIcon& icon) {
  NSString* const value = foundationText(icon.value);
  if (icon.kind == NotificationIcon::Kind::named) return [NSImage imageNamed:value];
  return [[NSWorkspace sharedWorkspace] iconForFile:value];
}

}  // namespace

void HostAgent::showNotification(const HostNotification& notification) {
  const AutoreleasePool pool;
  const id shown = [application() notificationInstance];
  if (!shown) return;
  const id<KQHostNotification> notice = KQRWGuarded(shown);
  if (notification.text) [notice setText:foundationText(*notification.text)];
  if (notification.icon) [notice setIcon:image(*notification.icon)];
  if (dynamic_cast<ApplicationTarget*>(notification.target.get()) != nullptr) {
    [notice setTarget:[NSApp delegate]];
  } else if (notification.target) {
    [notice setTarget:targetObject_(notification.target)];
  }
  if (notification.liveTime) [notice setLiveTime:*notification.liveTime];
  if (notification.userInfo) [notice setUserInfo:foundationValue(*notification.userInfo)];
  if (notification.button1Text) [notice setButton1Text:foundationText(*notification.button1Text)];
  if (notification.button1Action) {
    [notice setButton1Action:NSSelectorFromString(foundationText(*notification.button1Action))];
  }
  if (notification.button2Text) [notice setButton2Text:foundationText(*notification.button2Text)];
  [application() showNotification:shown];
}

std::optional<std::string> HostAgent::hostAppPath() {
  const AutoreleasePool pool;
  const std::optional<std::string> path = optionalTextOf([application() hostAppPath]);
  if (!path) return std::nullopt;
  return resolvedPath(*path).value_or(*path);
}

std::shared_ptr<HostAppProxy> HostAgent::hostAppProxyWithTargetId_protocol(
    std::string_view targetId, std::string_view protocolName) {
  const AutoreleasePool pool;
  if (protocolName != textOf(NSStringFromProtocol(userInterface_))) return nullptr;
  const id proxy = [application() hostAppProxyWithTargetId:foundationText(targetId)
                                                  protocol:userInterface_];
  return proxy ? std::make_shared<UserInterfaceProxy>(proxy) : nullptr;
}

void HostAgent::activateHostApp() {
  const AutoreleasePool pool;
  [application() activateHostApp];
}

std::shared_ptr<NotificationTarget> HostAgent::notificationTarget() {
  return std::make_shared<ApplicationTarget>();
}

std::shared_ptr<KQUninstallerAgent> HostAgent::instanceWithClassName(std::string_view name) {
  const AutoreleasePool pool;
  const id agent = [application() instanceWithClassName:foundationText(name)];
  return agent ? std::make_shared<UninstallerAgent>(agent) : nullptr;
}

}  // namespace revwarden
