#pragma once

#include <memory>

#include "platform/platform.h"
#include "ports/macos/platform/host_agent.h"

namespace revwarden {

struct AgentReference;

/// The platform of one agent in the process that has loaded the plug-in. What is behind it lives
/// until the process ends: at no moment is it certain that nothing is queued for the main thread.
/// `userInterface` is the protocol that the agent speaks with the host product.
std::shared_ptr<const Platform> macPlatform(std::shared_ptr<const AgentReference> agent,
                                            Protocol* userInterface,
                                            HostAgent::TargetObject targetObject);

}  // namespace revwarden
