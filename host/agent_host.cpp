#include "host/agent_host.h"

#include "host/event_log.h"
#include "host/json_values.h"
#include "host/notices.h"
#include "protocol/names.h"

namespace revwarden {
namespace {

class UserInterfaceProxy final : public HostAppProxy {
 public:
  explicit UserInterfaceProxy(EventLog& events) : events_(events) {}

  void openRevwarden() override { events_.append(events::kOpenRevwarden, "[]"); }

 private:
  EventLog& events_;
};

class HostTarget final : public NotificationTarget {
 public:
  explicit HostTarget(HostJobSupport& host) : host_(host) {}

  void performAction(std::string_view selector) override {
    if (selector == "activateHostApp") host_.activateHostApp();
  }

 private:
  HostJobSupport& host_;
};

class ReportedRemovals final : public KQUninstallerAgent {
 public:
  explicit ReportedRemovals(EventLog& events) : events_(events) {}

  void addSilentRemoveBundleID(std::string_view bundleId) override {
    events_.append(events::kAddSilentRemove, jsonList({jsonText(bundleId)}));
  }

 private:
  EventLog& events_;
};

}  // namespace

HostNotification AgentHost::notificationInstance() {
  HostNotification notice;
  notice.liveTime = 10.0;
  return notice;
}

void AgentHost::showNotification(const HostNotification& notification) {
  notices_.show(notification);
}

std::shared_ptr<HostAppProxy> AgentHost::hostAppProxyWithTargetId_protocol(
    std::string_view targetId, std::string_view protocolName) {
  if (targetId != "KQRevwarden" || protocolName != "KQRWAgentDelegate") return nullptr;
  return std::make_shared<UserInterfaceProxy>(events_);
}

void AgentHost::activateHostApp() {
  const bool started = hostAppPath_ && launch_(*hostAppPath_);
  events_.append(events::kActivateHostApp,
                 jsonList({jsonTextOrNull(hostAppPath_), jsonText(started)}));
}

std::shared_ptr<NotificationTarget> AgentHost::notificationTarget() {
  return std::make_shared<HostTarget>(*this);
}

std::shared_ptr<KQUninstallerAgent> AgentHost::instanceWithClassName(std::string_view name) {
  if (name != "KQUninstallerAgent") return nullptr;
  return std::make_shared<ReportedRemovals>(events_);
}

}  // namespace revwarden
