#pragma once

#include "base/value.h"

namespace revwarden {

/// The time of day. Any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  /// Now, by the wall clock; may jump when the clock is set.
  virtual Date now() const = 0;
};

}  // namespace revwarden
