#include "host/agent_methods.h"

#include "agent/kqrw_agent.h"
#include "host/json_values.h"
#include "host/rpc_parameters.h"

namespace revwarden {
namespace {

using Ids = std::vector<std::string>;

std::string contents(const LiveRecords& records) {
  std::vector<Dictionary> snapshots;
  snapshots.reserve(records.size());
  for (const LiveRecordRef& record : records) snapshots.push_back(record->contents());
  return jsonList(snapshots);
}

template <typename T>
std::string textOrNull(const std::optional<T>& value) {
  return value ? jsonText(*value) : kJsonNull;
}

/// An operation without a result.
template <typename Operation>
auto silent(Operation operation) {
  return [operation](auto&&... arguments) -> RpcResult {
    operation(std::forward<decltype(arguments)>(arguments)...);
    return kJsonNull;
  };
}

void addCatalogue(RpcMethods& methods, const std::shared_ptr<KQRWAgent>& agent) {
  methods["items"] = taking<>([agent] { return contents(agent->items()); });
  methods["itemsSnapshot"] = taking<>([agent] { return contents(agent->itemsSnapshot()); });
  methods["itemSnapshotWithID:"] = taking<std::string>(
      [agent](const std::string& id) { return textOrNull(agent->itemSnapshotWithID(id)); });
  methods["setStarred:forItemWithId:"] =
      taking<bool, std::string>(silent([agent](bool starred, const std::string& id) {
        agent->setStarred_forItemWithId(starred, id);
      }));
  methods["moveItemsWithIds:toBlackList:"] = taking<Ids, bool>(silent(
      [agent](const Ids& ids, bool listed) { agent->moveItemsWithIds_toBlackList(ids, listed); }));
  methods["itemWithIdIsInBlackList:"] = taking<std::string>(
      [agent](const std::string& id) { return jsonText(agent->itemWithIdIsInBlackList(id)); });
}

void addPasses(RpcMethods& methods, const std::shared_ptr<KQRWAgent>& agent) {
  methods["startFullRescan"] = taking<>(silent([agent] { agent->startFullRescan(); }));
  methods["startUpdateApplicationsList"] =
      taking<>(silent([agent] { agent->startUpdateApplicationsList(); }));
  methods["startUpdateInfoForItemsWithIDs:"] =
      taking<Ids>(silent([agent](const Ids& ids) { agent->startUpdateInfoForItemsWithIDs(ids); }));
  methods["updateIsInProgress"] =
      taking<>([agent] { return jsonText(agent->updateIsInProgress()); });
}

void addQueue(RpcMethods& methods, const std::shared_ptr<KQRWAgent>& agent) {
  methods["startUpdateItemWithIDs:"] =
      taking<Ids>(silent([agent](const Ids& ids) { agent->startUpdateItemWithIDs(ids); }));
  methods["cancelUpdateItemWithIDs:"] =
      taking<Ids>(silent([agent](const Ids& ids) { agent->cancelUpdateItemWithIDs(ids); }));
  methods["startUpdatePellmark"] = taking<>(silent([agent] { agent->startUpdatePellmark(); }));
  methods["installerQueueIsInProgress"] =
      taking<>([agent] { return jsonText(agent->installerQueueIsInProgress()); });
  methods["installerQueueCount"] =
      taking<>([agent] { return jsonText(agent->installerQueueCount()); });
}

void addSettings(RpcMethods& methods, const std::shared_ptr<KQRWAgent>& agent) {
  methods["showRevwardenNotifications"] =
      taking<>([agent] { return jsonText(agent->showRevwardenNotifications()); });
  methods["setShowRevwardenNotifications:"] =
      taking<bool>(silent([agent](bool show) { agent->setShowRevwardenNotifications(show); }));
  methods["updatesApplicationsFromAllLocalVolumes"] =
      taking<>([agent] { return jsonText(agent->updatesApplicationsFromAllLocalVolumes()); });
  methods["setUpdatesApplicationsFromAllLocalVolumes:"] = taking<bool>(
      silent([agent](bool all) { agent->setUpdatesApplicationsFromAllLocalVolumes(all); }));
  methods["totalUpdatesCount"] = taking<>([agent] { return jsonText(agent->totalUpdatesCount()); });
  methods["lastFireDate"] = taking<>([agent] { return textOrNull(agent->lastFireDate()); });
}

}  // namespace

RpcMethods agentMethods(const std::shared_ptr<KQRWAgent>& agent) {
  RpcMethods methods;
  addCatalogue(methods, agent);
  addPasses(methods, agent);
  addQueue(methods, agent);
  addSettings(methods, agent);
  return methods;
}

}  // namespace revwarden
