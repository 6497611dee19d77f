#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "platform/run_loop.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// The single-shot timers of a loop, by the wall clock.
///
/// They share one timerfd, set to the earliest date on the absolute wall clock. It also ends a wait
/// when the clock is set or the machine wakes; dates are then compared again. A timer whose date
/// had passed when it was added is delayed until a second after the previous firing, so that a
/// chain of such timers does not occupy a core.
///
/// Main thread, except that a timer may be destroyed on any thread.
class WallClockTimers : public std::enable_shared_from_this<WallClockTimers> {
 public:
  /// Returns nullptr if the system has no timerfd left.
  static std::shared_ptr<WallClockTimers> create();

  /// As `RunLoop::addTimer`.
  std::unique_ptr<Timer> add(Date fireDate, std::function<void()> action);

  /// Returns true if a timer may fire now.
  bool isDue() const;

  /// Fires the earliest timer that may fire now, if there is one.
  void fireOne();

  /// Sets the timerfd and returns it: it becomes readable when `isDue` may have changed. Owned by
  /// this object; -1 without timers.
  int arm();

 private:
  class Handle;
  using Nanoseconds = int64_t;

  struct Entry {
    uint64_t id;
    Nanoseconds date;                      // wall clock
    std::optional<Nanoseconds> notBefore;  // monotonic clock
    std::function<void()> action;

    Nanoseconds dueAt(Nanoseconds wallNow, Nanoseconds monotonicNow) const;
  };
  struct Next {
    size_t index;
    Nanoseconds dueAt;  // wall clock
    bool isDue;
  };

  explicit WallClockTimers(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

  std::optional<Next> next() const;  // with the mutex held
  void cancel(uint64_t id);

  const FileDescriptor descriptor_;
  std::optional<Nanoseconds> lastFired_;  // monotonic clock
  mutable std::mutex mutex_;
  uint64_t lastId_ = 0;         // by mutex_
  std::vector<Entry> entries_;  // by mutex_, in the order they were added
};

}  // namespace revwarden
