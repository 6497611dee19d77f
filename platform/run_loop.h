#pragma once

#include <functional>
#include <memory>

#include "base/value.h"

namespace revwarden {

/// What the main thread attends to in a turn. Posted calls are served in both modes, timers in the
/// default mode only: none fires while a panel is up.
enum class RunLoopMode { defaultMode, modal };

/// A pending single-shot timer. Destroying it cancels it: on the main thread its action is certain
/// not to begin afterwards. It may be destroyed from within its own action, which then runs to its
/// end.
class Timer {
 public:
  virtual ~Timer() = default;
};

/// The main thread's loop.
///
/// Posted calls form one queue, first in, first out, whichever thread posts them. Due timers,
/// posted calls and requests of clients take turns: none of them starves another. A call must not
/// throw.
class RunLoop {
 public:
  virtual ~RunLoop() = default;

  /// Whether the caller is the main thread.
  virtual bool isMainThread() const = 0;

  /// Queues `call` for a later turn, also when called on the main thread; never runs it inline.
  /// Any thread. Calls posted after the loop has ended are destroyed without having run.
  virtual void post(std::function<void()> call) = 0;

  /// Runs `call` on the main thread and returns when it is done: at once and ahead of everything
  /// queued when this is the main thread, else in its turn. Any thread; the caller must not hold a
  /// lock that the main thread takes. Once the loop has ended, or when it ends meanwhile, it
  /// returns without having run it.
  virtual void postAndWait(std::function<void()> call) = 0;

  /// What a single turn did.
  enum class Turn { handledOne, nothingToRun };

  /// Main thread only: waits, with no time limit, for one posted call, one request of a client or,
  /// in the default mode, one due timer, and runs just that one. `nothingToRun` when the loop has
  /// ended. May be called from inside a posted call: the outer turn stays as it is.
  virtual Turn runOneTurn(RunLoopMode mode) = 0;

  /// Main thread only: arranges for `action` to run once, on the main thread, in the default mode,
  /// at `fireDate` by the wall clock, or at the next turn when that has passed. Setting the clock
  /// and sleep of the machine move the firing accordingly, unless a port leaves that to those who
  /// hear of the wake. A date that is no number counts as passed; one beyond the clock's range
  /// never comes. A port may hold an already due timer back by at most one second when the previous
  /// one fired less than a second ago.
  [[nodiscard]] virtual std::unique_ptr<Timer> addTimer(Date fireDate,
                                                        std::function<void()> action) = 0;
};

}  // namespace revwarden
