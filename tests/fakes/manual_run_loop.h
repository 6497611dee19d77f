#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/clock.h"
#include "platform/run_loop.h"
#include "platform/threads.h"

namespace revwarden {

/// A clock that stands still until a test moves it.
class ManualClock final : public Clock {
 public:
  Date now() const override { return Date{seconds_}; }
  void advance(double seconds) { seconds_ = seconds_ + seconds; }

 private:
  std::atomic<double> seconds_ = 1000000000;
};

/// The main loop of the thread that made it: runs only when a test says so, its timers by the
/// manual clock.
class ManualRunLoop final : public RunLoop {
 public:
  explicit ManualRunLoop(const Clock& clock) : clock_(clock) {}

  bool isMainThread() const override { return std::this_thread::get_id() == main_; }

  void post(std::function<void()> call) override {
    const std::lock_guard lock(mutex_);
    calls_.push_back(std::move(call));
    changed_.notify_all();
  }

  void postAndWait(std::function<void()> call) override {
    if (isMainThread()) return call();
    bool done = false;
    post([&] {
      call();
      const std::lock_guard lock(mutex_);
      done = true;
      changed_.notify_all();
    });
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return done; });
  }

  Turn runOneTurn(RunLoopMode mode) override {
    return runOneOrWait(mode, std::chrono::steady_clock::now() + std::chrono::hours(1))
               ? Turn::handledOne
               : Turn::nothingToRun;
  }

  std::unique_ptr<Timer> addTimer(Date fireDate, std::function<void()> action) override {
    return std::make_unique<Pending>(*this, fireDate.secondsSince1970, std::move(action));
  }

  /// Serves the loop until `condition` holds; false when it does not within ten seconds.
  bool runUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
      if (!runOneOrWait(RunLoopMode::defaultMode, deadline)) return false;
    }
    return true;
  }

  /// Runs what is queued by now.
  void drain() {
    post(nullptr);
    while (const auto call = takeCall()) call();
  }

  /// The dates of the timers that are pending.
  std::vector<double> pendingTimers() const {
    std::vector<double> dates;
    for (const Pending* timer : timers_) dates.push_back(timer->fireDate);
    return dates;
  }

 private:
  struct Pending final : Timer {
    Pending(ManualRunLoop& owner, double date, std::function<void()> what)
        : loop(owner), fireDate(date), action(std::move(what)) {
      loop.timers_.push_back(this);
    }
    ~Pending() override { loop.timers_.remove(this); }
    ManualRunLoop& loop;
    double fireDate;
    std::function<void()> action;
  };

  std::function<void()> takeDueTimer() {
    for (Pending* timer : timers_) {
      if (timer->fireDate > clock_.now().secondsSince1970) continue;
      timers_.remove(timer);
      return std::move(timer->action);
    }
    return nullptr;
  }

  std::function<void()> takeCall() {
    const std::lock_guard lock(mutex_);
    std::function<void()> call = std::move(calls_.front());
    calls_.pop_front();
    return call;
  }

  bool runOneOrWait(RunLoopMode mode, std::chrono::steady_clock::time_point deadline) {
    std::function<void()> next = mode == RunLoopMode::defaultMode ? takeDueTimer() : nullptr;
    if (!next) {
      std::unique_lock lock(mutex_);
      if (!changed_.wait_until(lock, deadline, [&] { return !calls_.empty(); })) return false;
      lock.unlock();
      next = takeCall();
    }
    next();
    return true;
  }

  const Clock& clock_;
  const std::thread::id main_ = std::this_thread::get_id();
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> calls_;
  std::list<Pending*> timers_;
};

/// Real detached threads whose ends a test can wait for.
class CountedThreads final : public Threads {
 public:
  /// Serves the main thread's calls, but no timer, until every thread has ended, those too that the
  /// calls started.
  void waitForAll(ManualRunLoop& loop) {
    do {
      for (; running_ > 0; std::this_thread::sleep_for(std::chrono::milliseconds(1))) loop.drain();
      loop.drain();
    } while (running_ > 0);
  }

  bool detachNewThread(std::function<void()> body) override {
    if (refuse) return false;
    ++running_;
    std::thread([this, body = std::move(body)]() mutable {
      body();
      body = nullptr;
      --running_;
    }).detach();
    return true;
  }

  bool refuse = false;

 private:
  std::atomic<int> running_ = 0;
};

}  // namespace revwarden
