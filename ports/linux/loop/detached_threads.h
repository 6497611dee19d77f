#pragma once

#include "platform/threads.h"

namespace revwarden {

/// Detached threads of the system.
class DetachedThreads final : public Threads {
 public:
  [[nodiscard]] bool detachNewThread(std::function<void()> body) override;
};

}  // namespace revwarden
