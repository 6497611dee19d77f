#pragma once

#include <mutex>
#include <utility>

namespace revwarden {

/// A value that several threads share and that is accessible only through its lock.
///
/// For small properties: `get` and `set` copy the value and hold the lock only while they do so.
/// Any thread.
template <typename T>
class Guarded {
 public:
  /// Returns a copy of the value.
  T get() const {
    const std::lock_guard lock(mutex_);
    return value_;
  }

  /// Replaces the value. The old one is destroyed after the lock is released, so its destructor may
  /// use this object.
  void set(T value) {
    const std::lock_guard lock(mutex_);
    std::swap(value_, value);
  }

  /// Calls `change` with the value, under the lock.
  template <typename Change>
  void update(const Change& change) {
    const std::lock_guard lock(mutex_);
    change(value_);
  }

 private:
  mutable std::mutex mutex_;
  T value_{};
};

}  // namespace revwarden
