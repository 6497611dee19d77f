#include "host/agent_methods.h"

#include "agent/kqrw_agent.h"
#include "host/json_values.h"
#include "host/rpc_parameters.h"
#include "protocol/names.h"

namespace revwarden {
namespace {

using Ids = std::vector<std::string>;

std::string contents(const LiveRecords& records) {
  std::vector<Dictionary> snapshots;
  snapshots.reserve(records.size());
  for (const LiveRecordRef& record : records) snapshots.push_back(record->contents());
  return jsonList(snapshots);
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
  methods[methods::kItems] = taking<>([agent] { return contents(agent->items()); });
  methods[methods::kItemsSnapshot] = taking<>([agent] { return contents(agent->itemsSnapshot()); });
  methods[methods::kItemSnapshotWithID] = taking<std::string>(
      [agent](const std::string& id) { return jsonTextOrNull(agent->itemSnapshotWithID(id)); });
  methods[methods::kSetStarred] =
      taking<bool, std::string>(silent([agent](bool starred, const std::string& id) {
        agent->setStarred_forItemWithId(starred, id);
      }));
  methods[methods::kMoveItemsToBlackList] = taking<Ids, bool>(silent(
      [agent](const Ids& ids, bool listed) { agent->moveItemsWithIds_toBlackList(ids, listed); }));
  methods[methods::kItemIsInBlackList] = taking<std::string>(
      [agent](const std::string& id) { return jsonText(agent->itemWithIdIsInBlackList(id)); });
}

void addPasses(RpcMethods& methods, const std::shared_ptr<KQRWAgent>& agent) {
  methods[methods::kStartFullRescan] = taking<>(silent([agent] { agent->startFullRescan(); }));
  methods[methods::kStartUpdateApplicationsList] =
      taking<>(silent([agent] { agent->startUpdateApplicationsList(); }));
  methods[methods::kStartUpdateInfo] =
      taking<Ids>(silent([agent](const Ids& ids) { agent->startUpdateInfoForItemsWithIDs(ids); }));
  methods[methods::kUpdateIsInProgress] =
      taking<>([agent] { return jsonText(agent->updateIsInProgress()); });
}

void addQueue(RpcMethods& methods, const std::shared_ptr<KQRWAgent>& agent) {
  methods[methods::kStartUpdateItems] =
      taking<Ids>(silent([agent](const Ids& ids) { agent->startUpdateItemWithIDs(ids); }));
  methods[methods::kCancelUpdateItems] =
      taking<Ids>(silent([agent](const Ids& ids) { agent->cancelUpdateItemWithIDs(ids); }));
  methods[methods::kStartUpdatePellmark] =
      taking<>(silent([agent] { agent->startUpdatePellmark(); }));
  methods[methods::kInstallerQueueIsInProgress] =
      taking<>([agent] { return jsonText(agent->installerQueueIsInProgress()); });
  methods[methods::kInstallerQueueCount] =
      taking<>([agent] { return jsonText(agent->installerQueueCount()); });
}

void addSettings(RpcMethods& methods, const std::shared_ptr<KQRWAgent>& agent) {
  methods[methods::kShowNotifications] =
      taking<>([agent] { return jsonText(agent->showRevwardenNotifications()); });
  methods[methods::kSetShowNotifications] =
      taking<bool>(silent([agent](bool show) { agent->setShowRevwardenNotifications(show); }));
  methods[methods::kUpdatesFromAllVolumes] =
      taking<>([agent] { return jsonText(agent->updatesApplicationsFromAllLocalVolumes()); });
  methods[methods::kSetUpdatesFromAllVolumes] = taking<bool>(
      silent([agent](bool all) { agent->setUpdatesApplicationsFromAllLocalVolumes(all); }));
  methods[methods::kTotalUpdatesCount] =
      taking<>([agent] { return jsonText(agent->totalUpdatesCount()); });
  methods[methods::kLastFireDate] =
      taking<>([agent] { return jsonTextOrNull(agent->lastFireDate()); });
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
