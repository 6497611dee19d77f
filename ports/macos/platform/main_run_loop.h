#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/run_loop.h"

namespace revwarden {

/// The main thread's run loop, which the process runs and never ends.
///
/// The queue of posted calls is its own: the run loop's only learns that there is one more. So the
/// order holds, and a nested turn also serves the calls that were due in the turn around it.
/// Several instances may share the run loop. Lives until the process ends.
class MainRunLoop final : public RunLoop {
 public:
  MainRunLoop() = default;
  MainRunLoop(const MainRunLoop&) = delete;
  MainRunLoop& operator=(const MainRunLoop&) = delete;

  bool isMainThread() const override;
  /// Served in the common modes: also while a panel or a menu is up.
  void post(std::function<void()> call) override;
  void postAndWait(std::function<void()> call) override;
  /// Posted calls go first. A turn without one ends with the first event of the process, which a
  /// timer is not; `nothingToRun` when the mode has nothing that could bring one.
  Turn runOneTurn(RunLoopMode mode) override;
  /// Keeps to the machine's clock of running time: neither a clock that is set nor sleep moves the
  /// timer, so whoever waits for a date plans anew on waking.
  [[nodiscard]] std::unique_ptr<Timer> addTimer(Date fireDate,
                                                std::function<void()> action) override;

  /// Runs the first posted call, if there is one; whether there was. Main thread.
  bool serveOne();

 private:
  void wake();
  void timerFired(const std::function<void()>& action);

  std::mutex mutex_;
  std::deque<std::function<void()>> queue_;  // by mutex_

  // When a timer fired last. Main thread.
  std::optional<std::chrono::steady_clock::time_point> lastFired_;
};

}  // namespace revwarden
