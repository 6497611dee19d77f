#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/value.h"
#include "host/json_rpc.h"

namespace revwarden {

class EventLog;
class KQRWAgent;
class Notices;
class OutcomeEvents;

/// What the host's own methods report and act on. The references must outlive the methods.
struct HostParts {
  std::string pluginVersion;
  std::vector<std::string> searchFolders;  // full paths; they need not exist
  Notices& notices;
  EventLog& events;
  const OutcomeEvents& outcomes;
  std::function<std::optional<Date>()> unsavedSince;   // absent while all settings are on disk
  std::function<std::vector<std::string>()> openJobs;  // ids of requests without an outcome yet
  std::function<void()> deliverWake;                   // tells the agent that the machine woke up
};

/// Adds the agent's operations as methods of the socket, by selector. The methods keep the agent
/// alive and run on the main thread.
void addAgentMethods(RpcMethods& rpc, const std::shared_ptr<KQRWAgent>& agent);

/// Adds the host's own methods, `host.version` and so on. They run on the main thread.
void addHostMethods(RpcMethods& rpc, HostParts parts);

}  // namespace revwarden
