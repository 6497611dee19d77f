#pragma once

#include <memory>

#include "platform/run_loop.h"

namespace revwarden {

class AgentSettings;
struct Platform;

/// Schedules the next periodic check: a day after the last one ended. Main thread.
class CheckSchedule {
 public:
  class Mediator {
   public:
    /// Starts the list refresh that contains the check.
    virtual void startUpdateApplicationsList() = 0;
    /// Returns a reference for the timer, which must not keep the agent alive.
    virtual std::weak_ptr<void> weakAgentReference() = 0;

   protected:
    ~Mediator() = default;
  };

  CheckSchedule(const Platform& platform, const AgentSettings& settings, Mediator& mediator)
      : platform_(platform), settings_(settings), mediator_(mediator) {}

  /// Replaces the pending timer. The new one fires at the next turn of the main loop if the check
  /// is overdue or there was none yet.
  void scheduleNextUpdate();
  /// Cancels the pending timer, if there is one.
  void dropTimer() { scheduleTimer_.reset(); }

 private:
  const Platform& platform_;
  const AgentSettings& settings_;
  Mediator& mediator_;
  std::unique_ptr<Timer> scheduleTimer_;
};

}  // namespace revwarden
