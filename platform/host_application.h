#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/value.h"

// What the host agent application offers to the agents that it has loaded.
namespace revwarden {

/// Performs the action of a notice's button.
class NotificationTarget {
 public:
  virtual ~NotificationTarget() = default;

  /// Performs the action with this selector; ignores an unknown one. Main thread.
  virtual void performAction(std::string_view selector) = 0;
};

/// The image of a notice: an image by its registered name, or the icon of the file at a path.
struct NotificationIcon {
  enum class Kind { named, ofFile };
  Kind kind = Kind::named;
  std::string value;  // the name or the path
};

/// A notice to the user. `notificationInstance` creates it, `showNotification` shows it. A field
/// that is not set is absent.
struct HostNotification {
  std::optional<std::string> text;
  std::optional<NotificationIcon> icon;
  /// Receives the action of button 1. The host holds it strongly until the user answers or
  /// dismisses the notice.
  std::shared_ptr<NotificationTarget> target;
  std::optional<double> liveTime;  // seconds on the screen
  std::optional<Value> userInfo;
  std::optional<std::string> button1Text;
  /// The selector that is sent to the target when the user presses button 1. If absent, the button
  /// only dismisses the notice.
  std::optional<std::string> button1Action;
  std::optional<std::string> button2Text;  // button 2 only dismisses the notice
};

/// An object of the host's user interface.
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

  /// Returns a new notice with the host's defaults.
  virtual HostNotification notificationInstance() = 0;

  /// Shows the notice. Returns without waiting for an answer.
  virtual void showNotification(const HostNotification& notification) = 0;

  /// Returns the path of the host product's application bundle, with links resolved if it exists;
  /// absent if the host does not know it.
  virtual std::optional<std::string> hostAppPath() = 0;

  /// Returns the user interface object that has this target id and implements the named protocol;
  /// nullptr if there is none. Main thread.
  virtual std::shared_ptr<HostAppProxy> hostAppProxyWithTargetId_protocol(
      std::string_view targetId, std::string_view protocolName) = 0;
};

/// Another agent in the host application, which reacts when the user removes an application.
class KQUninstallerAgent {
 public:
  virtual ~KQUninstallerAgent() = default;

  /// Makes that agent ignore the next removal of the application with this bundle identifier. Main
  /// thread.
  virtual void addSilentRemoveBundleID(std::string_view bundleId) = 0;
};

/// The operations of the host agent application that only update jobs use. Any thread.
class HostJobSupport {
 public:
  virtual ~HostJobSupport() = default;

  /// Launches the host product, or brings it to the front if it is running. Does not wait for it.
  virtual void activateHostApp() = 0;

  /// Returns the target that performs "activateHostApp"; nullptr if the host has none.
  virtual std::shared_ptr<NotificationTarget> notificationTarget() = 0;

  /// Returns the loaded agent with this class name ("KQUninstallerAgent"); nullptr if the host has
  /// not loaded it.
  virtual std::shared_ptr<KQUninstallerAgent> instanceWithClassName(std::string_view name) = 0;
};

}  // namespace revwarden
