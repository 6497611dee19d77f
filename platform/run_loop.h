#pragma once

#include <functional>
#include <memory>

#include "base/value.h"

namespace revwarden {

/// What a turn of the main loop serves. Posted calls run in both modes, timers only in the default
/// mode, so no timer fires while a modal panel is open.
enum class RunLoopMode { defaultMode, modal };

/// A pending timer that fires once. Destroying it cancels it; if that happens on the main thread,
/// its action does not start afterwards. It may be destroyed in its own action, which then
/// continues to its end.
class Timer {
 public:
  virtual ~Timer() = default;
};

/// The loop of the main thread.
///
/// Posted calls form one queue, first in, first out, from all threads. Due timers, posted calls and
/// requests of clients take turns, so none of them starves another. A call must not throw.
class RunLoop {
 public:
  virtual ~RunLoop() = default;

  /// Returns true on the main thread.
  virtual bool isMainThread() const = 0;

  /// Queues `call` for a later turn; never runs it inline, even on the main thread. After the loop
  /// has ended, calls are destroyed without being run. Any thread.
  virtual void post(std::function<void()> call) = 0;

  /// Runs `call` on the main thread and returns when it has returned. On the main thread it runs
  /// `call` immediately, ahead of all queued calls; from another thread it queues it. The caller
  /// must not hold a lock that the main thread takes. If the loop has ended, or ends before the
  /// turn of `call`, this returns without running it. Any thread.
  virtual void postAndWait(std::function<void()> call) = 0;

  /// The result of one turn.
  enum class Turn { handledOne, nothingToRun };

  /// Waits, without a time limit, for one posted call, one request of a client or, in the default
  /// mode, one due timer, and runs only that. Returns `nothingToRun` if the loop has ended. May be
  /// called in a posted call; the outer turn continues afterwards. Main thread.
  virtual Turn runOneTurn(RunLoopMode mode) = 0;

  /// Schedules `action` to run once on the main thread, in the default mode, at `fireDate` of the
  /// wall clock, or at the next turn if that time has passed. Main thread.
  ///
  /// The timer follows the wall clock when the clock is set or the machine wakes; a port may leave
  /// that to the observers of wakes. NaN counts as passed. A date beyond the range of the clock
  /// never comes. A port may delay a timer that is already due until one second after the previous
  /// one fired.
  [[nodiscard]] virtual std::unique_ptr<Timer> addTimer(Date fireDate,
                                                        std::function<void()> action) = 0;
};

}  // namespace revwarden
