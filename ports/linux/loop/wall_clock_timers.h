#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/run_loop.h"

namespace revwarden {

/// The single-shot timers of a loop, by the wall clock.
///
/// They share one timerfd that stands at the earliest date by the absolute wall clock and ends a
/// wait also when the clock is set or the machine wakes; dates are then compared afresh. A timer
/// whose date had already passed when it was added is held back until a second after the previous
/// firing, so that a chain of such timers cannot take a whole core.
///
/// Main thread, except that a timer may be destroyed on any.
class WallClockTimers : public std::enable_shared_from_this<WallClockTimers> {
 public:
  /// nullptr when the system can give no timerfd.
  static std::shared_ptr<WallClockTimers> create();

  ~WallClockTimers();
  WallClockTimers(const WallClockTimers&) = delete;
  WallClockTimers& operator=(const WallClockTimers&) = delete;

  /// As `RunLoop::addTimer`. A date that is not a number counts as passed.
  std::unique_ptr<Timer> add(Date fireDate, std::function<void()> action);

  /// Whether a timer may fire now.
  bool isDue() const;

  /// Fires the earliest of the timers that may fire now, if there is one.
  void fireOne();

  /// A descriptor, owned by this object, that becomes readable when `isDue` is to be asked again;
  /// -1 without timers. Arms anew with each call.
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

  explicit WallClockTimers(int descriptor) : descriptor_(descriptor) {}

  std::optional<Next> next() const;  // with the mutex held
  void cancel(uint64_t id);

  const int descriptor_;
  std::optional<Nanoseconds> lastFired_;  // monotonic clock
  mutable std::mutex mutex_;
  uint64_t lastId_ = 0;         // by mutex_
  std::vector<Entry> entries_;  // by mutex_, in the order they were added
};

}  // namespace revwarden
