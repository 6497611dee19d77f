#pragma once

#include <functional>
#include <string>

#include "host/json_rpc.h"

namespace revwarden {

class EventLog;
class Notices;

/// Adds the host's own methods of the socket, "host.version" and so on. They are to be called on
/// the main thread; `deliverWake` tells the agent that the machine woke.
void addHostMethods(RpcMethods& methods, const std::string& pluginVersion, Notices& notices,
                    EventLog& events, std::function<void()> deliverWake);

}  // namespace revwarden
