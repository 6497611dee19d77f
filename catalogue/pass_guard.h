#pragma once

#include <atomic>
#include <functional>
#include <memory>

namespace revwarden {

struct Platform;

/// Starts and ends background passes (list refreshes and validation passes), at most one at a time.
class PassGuard {
 public:
  class Mediator {
   public:
    /// Schedules the next periodic check. Main thread.
    virtual void scheduleNextUpdate() = 0;
    /// Send `agentDidStartValidateItem` and `agentDidFinishValidateItem` to the delegate.
    virtual void sendDidStartValidateItem() = 0;
    virtual void sendDidFinishValidateItem() = 0;
    /// Returns a reference that keeps the agent alive while a pass runs.
    virtual std::shared_ptr<void> agentReference() = 0;

   protected:
    ~Mediator() = default;
  };

  PassGuard(const std::shared_ptr<const Platform>& platform, Mediator& mediator)
      : platform_(platform), mediator_(mediator) {}

  /// Returns true while a pass is running. Any thread.
  bool updateIsInProgress() const { return updateIsInProgress_; }

  /// Starts a pass: notifies the delegate and runs `body` on a new thread. `body` must call
  /// `finish`. The pass ends at once if there can be no new thread. Call only if no pass is
  /// running. Main thread.
  void start(std::function<void()> body);

  /// Ends the pass: schedules the next check and notifies the delegate, on the main thread, and
  /// waits until that is done.
  void finish();

  /// Runs `call` on the main thread and waits until it has returned.
  void onMainThread(std::function<void()> call);

 private:
  void willStartUpdate();
  void didFinishUpdate();

  const std::shared_ptr<const Platform> platform_;
  Mediator& mediator_;
  std::atomic<bool> updateIsInProgress_ = false;
};

}  // namespace revwarden
