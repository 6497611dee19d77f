#pragma once

#include "platform/host_application.h"

namespace revwarden {

class EventLog;
class Notices;

/// The host agent application that this process is.
class AgentHost final : public HostApplication {
 public:
  /// `hostAppPath` with its links resolved.
  AgentHost(Notices& notices, EventLog& events, std::optional<std::string> hostAppPath)
      : notices_(notices), events_(events), hostAppPath_(std::move(hostAppPath)) {}

  HostNotification notificationInstance() override { return {}; }
  void showNotification(const HostNotification& notification) override;
  std::optional<std::string> hostAppPath() override { return hostAppPath_; }

  /// The Revwarden window of the user interface is whoever listens to the events.
  std::shared_ptr<HostAppProxy> hostAppProxyWithTargetId_protocol(
      std::string_view targetId, std::string_view protocolName) override;

 private:
  Notices& notices_;
  EventLog& events_;
  const std::optional<std::string> hostAppPath_;
};

}  // namespace revwarden
