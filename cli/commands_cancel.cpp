#include <algorithm>

#include "catalogue/record_keys.h"
#include "cli/commands.h"
#include "cli/records.h"
#include "cli/waiting_line.h"

namespace revwarden {
namespace {

std::vector<Json> inQueue(std::vector<Json> records) {
  std::erase_if(records,
                [](const Json& record) { return !recordFlag(record, kKQRWInstallerIsInQueueKey); });
  return records;
}

// The records of the last change of status: after a request, those that it has changed.
std::vector<Json> lastChanged(const std::vector<AgentEvent>& events) {
  for (auto event = events.rbegin(); event != events.rend(); ++event) {
    if (event->method != "agent:didChangeStatusForItems:") continue;
    const Json& records = event->parameter(0);
    return records.is_array() ? records.get<std::vector<Json>>() : std::vector<Json>();
  }
  return {};
}

}  // namespace

int runCancel(CommandContext& context, const JobSelection& selection) {
  const auto records = context.agent.records();
  if (!records) return kFailed;
  const auto named = selection.all ? inQueue(*records) : recordsNamed(*records, selection.names);
  if (!named) return kUsage;
  if (named->empty()) {
    print(context.json ? "[]\n" : "The install queue is empty.\n");
    return kOk;
  }
  context.agent.connection().takeEvents();
  WaitingLine waiting;
  const auto patience = [&] {
    waiting.show("Waiting for the running installation to stop");
    return true;
  };
  if (!context.agent.call("cancelUpdateItemWithIDs:", Json::array({idsOf(*named)}), patience)) {
    return kFailed;
  }
  waiting.clear();
  const std::vector<Json> cancelled = lastChanged(context.agent.connection().takeEvents());
  if (context.json) print(jsonText(cancelled) + "\n");
  int status = kOk;
  for (const Json& record : *named) {
    const bool isCancelled = std::any_of(cancelled.begin(), cancelled.end(), [&](const Json& one) {
      return one.is_object() && recordText(one, kKQRWIDKey) == recordText(record, kKQRWIDKey);
    });
    if (!isCancelled) {
      complain(displayName(record) + " is not in the install queue.");
      status = kFailed;
    } else if (!context.json) {
      print("Cancelled: " + displayName(record) + "\n");
    }
  }
  return status;
}

}  // namespace revwarden
