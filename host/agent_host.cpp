#include "host/agent_host.h"

#include "host/event_log.h"
#include "host/notices.h"

namespace revwarden {
namespace {

class UserInterfaceProxy final : public HostAppProxy {
 public:
  explicit UserInterfaceProxy(EventLog& events) : events_(events) {}

  void openRevwarden() override { events_.append("openRevwarden", "[]"); }

 private:
  EventLog& events_;
};

}  // namespace

void AgentHost::showNotification(const HostNotification& notification) {
  notices_.show(notification);
}

std::shared_ptr<HostAppProxy> AgentHost::hostAppProxyWithTargetId_protocol(
    std::string_view targetId, std::string_view protocolName) {
  if (targetId != "KQRevwarden" || protocolName != "KQRWAgentDelegate") return nullptr;
  return std::make_shared<UserInterfaceProxy>(events_);
}

}  // namespace revwarden
