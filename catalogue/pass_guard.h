#pragma once

#include <atomic>
#include <functional>
#include <memory>

namespace revwarden {

struct Platform;

/// The bracket around every background pass, a list refresh or a validation pass: at most one runs
/// at a time.
class PassGuard {
 public:
  class Mediator {
   public:
    virtual void scheduleNextUpdate() = 0;
    virtual void sendDidStartValidateItem() = 0;
    virtual void sendDidFinishValidateItem() = 0;
    /// Keeps the agent alive for as long as a pass runs.
    virtual std::shared_ptr<void> agentReference() = 0;

   protected:
    ~Mediator() = default;
  };

  PassGuard(const std::shared_ptr<const Platform>& platform, Mediator& mediator)
      : platform_(platform), mediator_(mediator) {}

  /// Any thread.
  bool updateIsInProgress() const { return updateIsInProgress_; }

  /// Marks the beginning of a pass, tells the delegate and runs `body` on a thread of its own. To
  /// be called when no pass runs; main thread. `body` must call `finish`.
  void start(std::function<void()> body);

  /// Ends the pass: plans the next check and tells the delegate, on the main thread. Returns when
  /// that is done.
  void finish();

  /// Runs `call` on the main thread and waits for it.
  void onMainThread(std::function<void()> call);

 private:
  void willStartUpdate();
  void didFinishUpdate();

  const std::shared_ptr<const Platform> platform_;
  Mediator& mediator_;
  std::atomic<bool> updateIsInProgress_ = false;
};

}  // namespace revwarden
