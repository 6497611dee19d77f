#pragma once

#import <Foundation/Foundation.h>

namespace revwarden {

/// Refers to the Objective-C agent from objects that can outlive it: its threads and what they use.
struct AgentReference {
  Class agentClass;  // any thread
  id agent;          // main thread; nil after the agent was released
};

}  // namespace revwarden
