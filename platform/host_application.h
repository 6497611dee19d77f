#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/value.h"

// The host agent application: what it offers to the agents that it has loaded.
namespace revwarden {

/// Performs the action of a notice's button.
class NotificationTarget {
 public:
  virtual ~NotificationTarget() = default;

  /// Main thread. Unknown selectors are ignored.
  virtual void performAction(std::string_view selector) = 0;
};

/// An image by the name it is registered under, or the icon of the file at a path.
struct NotificationIcon {
  enum class Kind { named, ofFile };
  Kind kind = Kind::named;
  std::string value;
};

/// A notice to the user, as `notificationInstance` gives it and `showNotification` shows it. A
/// field that is not set is absent.
struct HostNotification {
  std::optional<std::string> text;
  std::optional<NotificationIcon> icon;
  /// Receives the button's action. Held strongly until the notice is answered or dismissed.
  std::shared_ptr<NotificationTarget> target;
  std::optional<double> liveTime;  // seconds
  std::optional<Value> userInfo;
  std::optional<std::string> button1Text;
  /// The selector sent to the target when button 1 is pressed; without one it only dismisses.
  std::optional<std::string> button1Action;
  std::optional<std::string> button2Text;  // this button only dismisses
};

/// An object of the host's user interface, reached through the host.
class HostAppProxy {
 public:
  virtual ~HostAppProxy() = default;

  /// Shows the Revwarden window. Main thread.
  virtual void openRevwarden() = 0;
};

/// The host agent application. Any thread unless an operation says otherwise.
class HostApplication {
 public:
  virtual ~HostApplication() = default;

  /// A fresh notice with the host's defaults.
  virtual HostNotification notificationInstance() = 0;

  /// Shows the notice and returns without waiting for an answer.
  virtual void showNotification(const HostNotification& notification) = 0;

  /// The path of the host product's application bundle, links resolved when it exists; absent when
  /// the host does not know one.
  virtual std::optional<std::string> hostAppPath() = 0;

  /// The object of the user interface behind a target id that understands the named protocol;
  /// nullptr when there is none. Main thread.
  virtual std::shared_ptr<HostAppProxy> hostAppProxyWithTargetId_protocol(
      std::string_view targetId, std::string_view protocolName) = 0;
};

/// Another agent that the host has loaded: the one that watches for removed applications.
class KQUninstallerAgent {
 public:
  virtual ~KQUninstallerAgent() = default;

  /// Not to react to the coming removal of the application with this identifier. Main thread.
  virtual void addSilentRemoveBundleID(std::string_view bundleId) = 0;
};

/// What the host does for update jobs. Any thread.
class HostJobSupport {
 public:
  virtual ~HostJobSupport() = default;

  /// Launches the host product or brings it to the front.
  virtual void activateHostApp() = 0;

  /// The target whose action "activateHostApp" does the same.
  virtual std::shared_ptr<NotificationTarget> notificationTarget() = 0;

  /// The running instance of a loaded agent by its class name ("KQUninstallerAgent"); nullptr when
  /// the host has loaded none.
  virtual std::shared_ptr<KQUninstallerAgent> instanceWithClassName(std::string_view name) = 0;
};

}  // namespace revwarden
