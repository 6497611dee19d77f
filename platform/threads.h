#pragma once

#include <functional>

namespace revwarden {

/// Starts detached threads.
class Threads {
 public:
  virtual ~Threads() = default;

  /// Runs `body` on a new detached thread. `body` must not throw. It is destroyed on that thread
  /// after it has returned, so it must hand over objects that must not be destroyed there. Returns
  /// false, without running `body`, if the system cannot create another thread. Any thread.
  [[nodiscard]] virtual bool detachNewThread(std::function<void()> body) = 0;
};

}  // namespace revwarden
