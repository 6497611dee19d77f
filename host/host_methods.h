#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/json_rpc.h"

namespace revwarden {

class EventLog;
class Notices;

/// What the host's own methods tell of it.
struct HostFacts {
  std::string pluginVersion;
  std::vector<std::string> searchFolders;  // full paths, also of folders that do not exist
};

/// Adds the host's own methods of the socket, "host.version" and so on. They are to be called on
/// the main thread; `deliverWake` tells the agent that the machine woke.
void addHostMethods(RpcMethods& methods, const HostFacts& facts, Notices& notices, EventLog& events,
                    std::function<void()> deliverWake);

}  // namespace revwarden
