#pragma once

#include <functional>

namespace revwarden {

/// Starts threads that nobody joins.
class Threads {
 public:
  virtual ~Threads() = default;

  /// Runs `body` on a new detached thread. `body` must not throw; it is destroyed on that thread
  /// when it has returned: what must not be destroyed there, `body` hands on before. Any thread.
  /// Answers false, with `body` not run, when the system can make no further thread.
  [[nodiscard]] virtual bool detachNewThread(std::function<void()> body) = 0;
};

}  // namespace revwarden
