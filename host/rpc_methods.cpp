#include "host/rpc_methods.h"

#include "agent/kqrw_agent.h"
#include "host/agent_events.h"
#include "host/event_log.h"
#include "host/json_values.h"
#include "host/notices.h"
#include "protocol/names.h"

namespace revwarden {
namespace {

constexpr int kProtocol = 1;

std::string replyText(const Value& value) {
  return jsonText(value);
}

template <typename T>
std::string replyText(const std::optional<T>& value) {
  return jsonTextOrNull(value);
}

std::string replyText(const LiveRecords& records) {
  std::vector<Dictionary> snapshots;
  snapshots.reserve(records.size());
  for (const LiveRecordRef& record : records) snapshots.push_back(record->contents());
  return jsonList(snapshots);
}

// The type of a request's parameter for a parameter of an operation.
template <typename T>
using Parameter =
    std::conditional_t<std::is_same_v<T, std::string_view>, std::string, std::remove_cvref_t<T>>;

template <typename T, typename... Parameters, typename Operation>
RpcMethod agentMethod(const std::shared_ptr<KQRWAgent>& agent, Operation operation) {
  return taking<Parameter<Parameters>...>(
      [agent, operation](const auto&... arguments) -> RpcResult {
        if constexpr (std::is_void_v<T>) {
          (*agent.*operation)(arguments...);
          return kJsonNull;
        } else {
          return replyText((*agent.*operation)(arguments...));
        }
      });
}

// Adds operations of the agent as methods that return their results, or null if they have none.
struct AgentMethods {
  template <typename T, typename... Parameters>
  void add(const char* name, T (KQRWAgent::*operation)(Parameters...)) {
    rpc[name] = agentMethod<T, Parameters...>(agent, operation);
  }
  template <typename T, typename... Parameters>
  void add(const char* name, T (KQRWAgent::*operation)(Parameters...) const) {
    rpc[name] = agentMethod<T, Parameters...>(agent, operation);
  }

  RpcMethods& rpc;
  const std::shared_ptr<KQRWAgent>& agent;
};

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

void addAgentMethods(RpcMethods& rpc, const std::shared_ptr<KQRWAgent>& agent) {
  AgentMethods to{rpc, agent};
  to.add(methods::kItems, &KQRWAgent::items);
  to.add(methods::kItemsSnapshot, &KQRWAgent::itemsSnapshot);
  to.add(methods::kItemSnapshotWithID, &KQRWAgent::itemSnapshotWithID);
  to.add(methods::kSetStarred, &KQRWAgent::setStarred_forItemWithId);
  to.add(methods::kMoveItemsToBlackList, &KQRWAgent::moveItemsWithIds_toBlackList);
  to.add(methods::kItemIsInBlackList, &KQRWAgent::itemWithIdIsInBlackList);
  to.add(methods::kStartFullRescan, &KQRWAgent::startFullRescan);
  to.add(methods::kStartUpdateApplicationsList, &KQRWAgent::startUpdateApplicationsList);
  to.add(methods::kStartUpdateInfo, &KQRWAgent::startUpdateInfoForItemsWithIDs);
  to.add(methods::kUpdateIsInProgress, &KQRWAgent::updateIsInProgress);
  to.add(methods::kStartUpdateItems, &KQRWAgent::startUpdateItemWithIDs);
  to.add(methods::kCancelUpdateItems, &KQRWAgent::cancelUpdateItemWithIDs);
  to.add(methods::kStartUpdatePellmark, &KQRWAgent::startUpdatePellmark);
  to.add(methods::kInstallerQueueIsInProgress, &KQRWAgent::installerQueueIsInProgress);
  to.add(methods::kInstallerQueueCount, &KQRWAgent::installerQueueCount);
  to.add(methods::kShowNotifications, &KQRWAgent::showRevwardenNotifications);
  to.add(methods::kSetShowNotifications, &KQRWAgent::setShowRevwardenNotifications);
  to.add(methods::kUpdatesFromAllVolumes, &KQRWAgent::updatesApplicationsFromAllLocalVolumes);
  to.add(methods::kSetUpdatesFromAllVolumes, &KQRWAgent::setUpdatesApplicationsFromAllLocalVolumes);
  to.add(methods::kTotalUpdatesCount, &KQRWAgent::totalUpdatesCount);
  to.add(methods::kLastFireDate, &KQRWAgent::lastFireDate);
}

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
