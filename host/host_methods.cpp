#include "host/host_methods.h"

#include "host/event_log.h"
#include "host/json_values.h"
#include "host/notices.h"
#include "host/outcome_events.h"
#include "host/rpc_parameters.h"
#include "protocol/names.h"

namespace revwarden {
namespace {

constexpr int kProtocol = 1;

std::string textList(const std::vector<std::string>& texts) {
  return jsonText(Array(std::vector<Value>(texts.begin(), texts.end())));
}

std::string statusText(const HostParts& parts) {
  return jsonObject({{status::kLastCheck, jsonTextOrNull(parts.outcomes.lastCheck())},
                     {status::kLastAnswered, jsonTextOrNull(parts.outcomes.lastAnswered())},
                     {status::kUnsavedSince, jsonTextOrNull(parts.unsavedSince())},
                     {status::kOpenJobs, textList(parts.openJobs())}});
}

RpcResult answerNotice(Notices& notices, uint64_t id, uint64_t button) {
  if (button > 2) return RpcError{kRpcInvalidParams, "Invalid params: no such button"};
  return jsonText(notices.answer(id, static_cast<int>(button)));
}

}  // namespace

void addHostMethods(RpcMethods& rpc, HostParts made) {
  const auto parts = std::make_shared<const HostParts>(std::move(made));
  const std::string version = jsonText(Dictionary{
      {"agent", REVWARDEN_VERSION}, {"plugin", parts->pluginVersion}, {"protocol", kProtocol}});
  rpc[methods::kHostVersion] = taking<>([version] { return version; });
  rpc[methods::kHostStatus] = taking<>([parts] { return statusText(*parts); });
  rpc[methods::kHostSearchFolders] = taking<>([parts] { return textList(parts->searchFolders); });
  rpc[methods::kHostNotices] = taking<>([parts] { return parts->notices.openNotices(); });
  rpc[methods::kHostAnswerNotification] = taking<uint64_t, uint64_t>(
      [parts](uint64_t id, uint64_t button) { return answerNotice(parts->notices, id, button); });
  rpc[methods::kHostWake] = taking<>([parts]() -> RpcResult {
    parts->deliverWake();
    return kJsonNull;
  });
  rpc[methods::kHostEvents] =
      taking<uint64_t>([parts](uint64_t sequence) { return parts->events.eventsAfter(sequence); });
}

}  // namespace revwarden
