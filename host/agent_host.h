#pragma once

#include <functional>

#include "platform/host_application.h"

namespace revwarden {

class EventLog;
class Notices;

/// This process as the host agent application, and its services for update jobs. The objects it
/// returns must not outlive it.
class AgentHost final : public HostApplication, public HostJobSupport {
 public:
  /// Starts the program of an application's bundle and returns true if it started. Any thread.
  using Launch = std::function<bool(const std::string& bundlePath)>;

  /// `hostAppPath` has its links resolved.
  AgentHost(Notices& notices, EventLog& events, std::optional<std::string> hostAppPath,
            Launch launch)
      : notices_(notices),
        events_(events),
        hostAppPath_(std::move(hostAppPath)),
        launch_(std::move(launch)) {}

  HostNotification notificationInstance() override;
  void showNotification(const HostNotification& notification) override;
  std::optional<std::string> hostAppPath() override { return hostAppPath_; }

  /// Returns a proxy whose call becomes the event `openRevwarden`: a user interface listens for it.
  std::shared_ptr<HostAppProxy> hostAppProxyWithTargetId_protocol(
      std::string_view targetId, std::string_view protocolName) override;

  /// Always launches the host product, which comes to the front if it is running already.
  void activateHostApp() override;
  std::shared_ptr<NotificationTarget> notificationTarget() override;

  /// Returns an object whose calls become events, for clients that watch for removed applications.
  std::shared_ptr<KQUninstallerAgent> instanceWithClassName(std::string_view name) override;

 private:
  Notices& notices_;
  EventLog& events_;
  const std::optional<std::string> hostAppPath_;
  const Launch launch_;
};

}  // namespace revwarden
