#include "host/host_methods.h"

#include "host/event_log.h"
#include "host/json_values.h"
#include "host/notices.h"
#include "host/rpc_parameters.h"

namespace revwarden {
namespace {

constexpr int kProtocol = 1;

}  // namespace

void addHostMethods(RpcMethods& methods, const HostFacts& facts, Notices& notices, EventLog& events,
                    std::function<void()> deliverWake) {
  const std::string version = jsonText(Dictionary{
      {"agent", REVWARDEN_VERSION}, {"plugin", facts.pluginVersion}, {"protocol", kProtocol}});
  methods["host.version"] = taking<>([version] { return version; });
  const std::string folders =
      jsonText(Array(std::vector<Value>(facts.searchFolders.begin(), facts.searchFolders.end())));
  methods["host.searchFolders"] = taking<>([folders] { return folders; });
  methods["host.notices"] = taking<>([&notices] { return notices.openNotices(); });
  methods["host.answerNotification"] =
      taking<uint64_t, uint64_t>([&notices](uint64_t id, uint64_t button) -> RpcResult {
        if (button > 2) return RpcError{kRpcInvalidParams, "Invalid params: no such button"};
        return jsonText(notices.answer(id, static_cast<int>(button)));
      });
  methods["host.wake"] = taking<>([deliver = std::move(deliverWake)]() -> RpcResult {
    deliver();
    return kJsonNull;
  });
  methods["host.events"] =
      taking<uint64_t>([&events](uint64_t sequence) { return events.eventsAfter(sequence); });
}

}  // namespace revwarden
