#pragma once

#include "platform/threads.h"

namespace revwarden {

/// Threads of Foundation, each with an autorelease pool for its whole life.
class PooledThreads final : public Threads {
 public:
  [[nodiscard]] bool detachNewThread(std::function<void()> body) override;
};

}  // namespace revwarden
