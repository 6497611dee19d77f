#pragma once

#include "platform/clock.h"

namespace revwarden {

/// The system's wall clock, with its fraction of a second.
class SystemClock final : public Clock {
 public:
  Date now() const override;
};

}  // namespace revwarden
