#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace revwarden {

/// Waits at most ten seconds for a condition that no event reports. Returns true if it came true.
inline bool eventually(const std::function<bool()>& condition) {
  for (int attempt = 0; attempt < 1000; ++attempt) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

}  // namespace revwarden
