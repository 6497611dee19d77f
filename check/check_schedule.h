#pragma once

#include <memory>

#include "platform/run_loop.h"

namespace revwarden {

class AgentSettings;
struct Platform;

/// Plans the next periodic check: a day after the last one ended, at once when that has passed.
/// Main thread.
class CheckSchedule {
 public:
  class Mediator {
   public:
    virtual void startUpdateApplicationsList() = 0;
    /// Lets the timer reach the agent without keeping it alive.
    virtual std::weak_ptr<void> weakAgentReference() = 0;

   protected:
    ~Mediator() = default;
  };

  CheckSchedule(const Platform& platform, const AgentSettings& settings, Mediator& mediator)
      : platform_(platform), settings_(settings), mediator_(mediator) {}

  /// Replaces the pending timer by one for the date that is due now.
  void scheduleNextUpdate();
  /// Cancels the pending timer, when there is one.
  void dropTimer() { scheduleTimer_.reset(); }

 private:
  const Platform& platform_;
  const AgentSettings& settings_;
  Mediator& mediator_;
  std::unique_ptr<Timer> scheduleTimer_;
};

}  // namespace revwarden
