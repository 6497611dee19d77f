#include "ports/linux/loop/wall_clock_timers.h"

#include <sys/timerfd.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace revwarden {
namespace {

constexpr int64_t kSecond = 1'000'000'000;
constexpr double kLatestDate = 9.2e9;  // seconds; the largest that fits as nanoseconds in 64 bits

int64_t nanosecondsNow(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now.tv_sec * kSecond + now.tv_nsec;
}

/// Rounded up, so that no timer fires before its date.
int64_t nanosecondsOf(Date date) {
  if (!(date.secondsSince1970 > 0)) return 0;
  return static_cast<int64_t>(std::ceil(std::min(date.secondsSince1970, kLatestDate) * kSecond));
}

}  // namespace

class WallClockTimers::Handle final : public Timer {
 public:
  Handle(std::shared_ptr<WallClockTimers> timers, uint64_t id)
      : timers_(std::move(timers)), id_(id) {}
  ~Handle() override { timers_->cancel(id_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

 private:
  const std::shared_ptr<WallClockTimers> timers_;
  const uint64_t id_;
};

std::shared_ptr<WallClockTimers> WallClockTimers::create() {
  FileDescriptor descriptor(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK));
  if (!descriptor) return nullptr;
  return std::shared_ptr<WallClockTimers>(new WallClockTimers(std::move(descriptor)));
}

std::unique_ptr<Timer> WallClockTimers::add(Date fireDate, std::function<void()> action) {
  const Nanoseconds date = nanosecondsOf(fireDate);
  std::optional<Nanoseconds> notBefore;
  if (lastFired_ && date <= nanosecondsNow(CLOCK_REALTIME)) notBefore = *lastFired_ + kSecond;
  const std::lock_guard lock(mutex_);
  entries_.push_back({++lastId_, date, notBefore, std::move(action)});
  return std::make_unique<Handle>(shared_from_this(), lastId_);
}

bool WallClockTimers::isDue() const {
  const std::lock_guard lock(mutex_);
  const auto earliest = next();
  return earliest && earliest->isDue;
}

void WallClockTimers::fireOne() {
  std::function<void()> action;
  {
    const std::lock_guard lock(mutex_);
    const auto earliest = next();
    if (!earliest || !earliest->isDue) return;
    const auto entry = entries_.begin() + static_cast<ptrdiff_t>(earliest->index);
    action = std::move(entry->action);
    entries_.erase(entry);
  }
  lastFired_ = nanosecondsNow(CLOCK_MONOTONIC);
  action();
}

int WallClockTimers::arm() {
  const std::lock_guard lock(mutex_);
  const auto earliest = next();
  if (!earliest) return -1;
  itimerspec when{};
  const Nanoseconds dueAt = std::max<Nanoseconds>(earliest->dueAt, 1);  // 0 would disarm
  when.it_value.tv_sec = dueAt / kSecond;
  when.it_value.tv_nsec = dueAt % kSecond;
  // This also makes the descriptor unreadable again. If the clock was set since the last call it
  // returns an error although the timer is set.
  timerfd_settime(descriptor_.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &when, nullptr);
  return descriptor_.get();
}

WallClockTimers::Nanoseconds WallClockTimers::Entry::dueAt(Nanoseconds wallNow,
                                                           Nanoseconds monotonicNow) const {
  if (!notBefore || *notBefore <= monotonicNow) return date;
  return std::max(date, wallNow + (*notBefore - monotonicNow));
}

std::optional<WallClockTimers::Next> WallClockTimers::next() const {
  const Nanoseconds wallNow = nanosecondsNow(CLOCK_REALTIME);
  const Nanoseconds monotonicNow = nanosecondsNow(CLOCK_MONOTONIC);
  std::optional<Next> earliest;
  for (size_t index = 0; index < entries_.size(); ++index) {
    const Nanoseconds dueAt = entries_[index].dueAt(wallNow, monotonicNow);
    if (!earliest || dueAt < earliest->dueAt) earliest = Next{index, dueAt, dueAt <= wallNow};
  }
  return earliest;
}

void WallClockTimers::cancel(uint64_t id) {
  std::function<void()> action;  // destroyed after the lock is released
  const std::lock_guard lock(mutex_);
  const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                  [id](const Entry& candidate) { return candidate.id == id; });
  if (entry == entries_.end()) return;
  action = std::move(entry->action);
  entries_.erase(entry);
}

}  // namespace revwarden
