#pragma once

#include <memory>

#include "platform/platform.h"
#include "ports/macos/platform/host_agent.h"

namespace revwarden {

struct AgentReference;

/// Returns the platform for one agent. Its objects live until the process ends, because a call may
/// always be queued for the main thread. `userInterface` is the protocol of the host product's
/// object.
std::shared_ptr<const Platform> macPlatform(std::shared_ptr<const AgentReference> agent,
                                            Protocol* userInterface,
                                            HostAgent::TargetObject targetObject);

}  // namespace revwarden
