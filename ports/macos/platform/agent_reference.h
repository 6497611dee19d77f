#pragma once

#import <Foundation/Foundation.h>

namespace revwarden {

/// The Objective-C agent for those that it does not outlive in every case: its threads and what
/// they use.
struct AgentReference {
  Class agentClass;  // any thread
  id agent;          // main thread; nil once the agent is gone
};

}  // namespace revwarden
