#pragma once

#include <chrono>

#include "platform/clock.h"

namespace revwarden {

/// The system's wall clock, with fractions of a second.
class SystemClock final : public Clock {
 public:
  Date now() const override {
    const std::chrono::duration<double> sinceEpoch =
        std::chrono::system_clock::now().time_since_epoch();
    return Date{sinceEpoch.count()};
  }
};

}  // namespace revwarden
