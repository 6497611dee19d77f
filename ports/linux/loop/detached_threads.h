#pragma once

#include <system_error>
#include <thread>
#include <utility>

#include "platform/threads.h"

namespace revwarden {

/// Detached threads of the standard library.
class DetachedThreads final : public Threads {
 public:
  [[nodiscard]] bool detachNewThread(std::function<void()> body) override {
    try {
      std::thread(std::move(body)).detach();
      return true;
    } catch (const std::system_error&) {
      return false;
    }
  }
};

}  // namespace revwarden
