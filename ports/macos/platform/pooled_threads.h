#pragma once

#include "platform/threads.h"

namespace revwarden {

/// Foundation threads, each with an autorelease pool for its lifetime.
class PooledThreads final : public Threads {
 public:
  [[nodiscard]] bool detachNewThread(std::function<void()> body) override;
};

}  // namespace revwarden
