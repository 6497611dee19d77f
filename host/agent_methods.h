#pragma once

#include <memory>

#include "host/json_rpc.h"

namespace revwarden {

class KQRWAgent;

/// The operations of the agent as methods of the socket, by their selectors. They are to be called
/// on the main thread.
RpcMethods agentMethods(const std::shared_ptr<KQRWAgent>& agent);

}  // namespace revwarden
