#pragma once

#include "base/value.h"

namespace revwarden {

/// The wall clock. Any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Returns the current time. It jumps when the system clock is set.
  virtual Date now() const = 0;
};

}  // namespace revwarden
