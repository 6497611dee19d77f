#pragma once

#include <functional>

#include "platform/host_application.h"

namespace revwarden {

class EventLog;
class Notices;

/// The host agent application that this process is, and what it does for update jobs. What it hands
/// out must not outlive it.
class AgentHost final : public HostApplication, public HostJobSupport {
 public:
  /// Starts the program of an application's bundle; whether it did. Any thread.
  using Launch = std::function<bool(const std::string& bundlePath)>;

  /// `hostAppPath` with its links resolved.
  AgentHost(Notices& notices, EventLog& events, std::optional<std::string> hostAppPath,
            Launch launch)
      : notices_(notices),
        events_(events),
        hostAppPath_(std::move(hostAppPath)),
        launch_(std::move(launch)) {}

  HostNotification notificationInstance() override;
  void showNotification(const HostNotification& notification) override;
  std::optional<std::string> hostAppPath() override { return hostAppPath_; }

  /// The Revwarden window of the user interface is whoever listens to the events.
  std::shared_ptr<HostAppProxy> hostAppProxyWithTargetId_protocol(
      std::string_view targetId, std::string_view protocolName) override;

  /// Always launches: bringing to the front is what the host product does when it runs already.
  void activateHostApp() override;
  std::shared_ptr<NotificationTarget> notificationTarget() override;

  /// Nothing here watches for removed applications: whoever listens to the events may.
  std::shared_ptr<KQUninstallerAgent> instanceWithClassName(std::string_view name) override;

 private:
  Notices& notices_;
  EventLog& events_;
  const std::optional<std::string> hostAppPath_;
  const Launch launch_;
};

}  // namespace revwarden
