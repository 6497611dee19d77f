#include "ports/posix/system_clock.h"

#include <chrono>

namespace revwarden {

Date SystemClock::now() const {
  const std::chrono::duration<double> sinceEpoch =
      std::chrono::system_clock::now().time_since_epoch();
  return Date{sinceEpoch.count()};
}

}  // namespace revwarden
