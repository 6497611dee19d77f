#pragma once

#include <functional>

namespace revwarden {

/// Blocks SIGTERM and SIGINT. Call it on the main thread before any other exists: all threads
/// inherit it, and so do child processes whose creator does not unblock them.
void blockShutdownSignals();

/// Starts a thread that waits for SIGTERM or SIGINT and then ends the process with status 0,
/// whatever the other threads do. No destructor runs.
///
/// First the thread calls `finish`, then `release`. If `finish` takes longer than 1.5 s, `release`
/// is called on another thread without waiting for it, so that the process ends within 2 s;
/// `release` may then run twice at the same time. Neither function may depend on the main thread.
/// Returns false if the thread cannot be started.
[[nodiscard]] bool shutDownOnSignals(std::function<void()> finish, std::function<void()> release);

}  // namespace revwarden
