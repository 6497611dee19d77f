#pragma once

#include <mutex>
#include <utility>

namespace revwarden {

/// A value that threads share and that can only be reached through its lock.
///
/// Meant for small properties: `get` copies the value out and `set` puts one in, each under a lock
/// held for just that.
template <typename T>
class Guarded {
 public:
  T get() const {
    const std::lock_guard lock(mutex_);
    return value_;
  }

  /// The replaced value is destroyed after the lock is released.
  void set(T value) {
    const std::lock_guard lock(mutex_);
    std::swap(value_, value);
  }

 private:
  mutable std::mutex mutex_;
  T value_{};
};

}  // namespace revwarden
