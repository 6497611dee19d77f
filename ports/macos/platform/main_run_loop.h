#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/run_loop.h"

namespace revwarden {

/// The run loop of the main thread, which the process runs until it ends.
///
/// Posted calls are in a queue of this object; the run loop is only woken for each. This keeps
/// their order, and a nested turn also runs calls that were posted before it started. Several
/// instances may share the run loop. An instance must live until the process ends.
class MainRunLoop final : public RunLoop {
 public:
  MainRunLoop() = default;
  MainRunLoop(const MainRunLoop&) = delete;
  MainRunLoop& operator=(const MainRunLoop&) = delete;

  bool isMainThread() const override;
  /// Calls also run while a panel or a menu is open.
  void post(std::function<void()> call) override;
  void postAndWait(std::function<void()> call) override;
  /// Runs a posted call if there is one. Otherwise waits for the first event of the process; a
  /// timer is not an event. Returns `nothingToRun` if the mode has no source of events.
  Turn runOneTurn(RunLoopMode mode) override;
  /// The timer counts the machine's running time. Setting the clock and sleep do not move it, so
  /// the caller must set a new timer after a wake.
  [[nodiscard]] std::unique_ptr<Timer> addTimer(Date fireDate,
                                                std::function<void()> action) override;

  /// Runs the first posted call. Returns false if there is none. Main thread.
  bool serveOne();

 private:
  void wake();
  void timerFired(const std::function<void()>& action);

  std::mutex mutex_;
  std::deque<std::function<void()>> queue_;  // guarded by mutex_

  // When a timer fired last. Main thread.
  std::optional<std::chrono::steady_clock::time_point> lastFired_;
};

}  // namespace revwarden
