#pragma once

#include <functional>

namespace revwarden {

/// Keeps SIGTERM and SIGINT from every thread. To be called by the main thread before there is any
/// other: all inherit it, and so do child programs, unless whoever starts them undoes it.
void blockShutdownSignals();

/// Has a thread of its own wait for SIGTERM and SIGINT and then end the process with status 0,
/// whatever its other threads do: no destructor and no other clean-up runs.
///
/// Before that the thread calls `finish`, then `release`. `finish` may take a little time; when it
/// takes too long to end within two seconds, `release` is called without waiting for it, maybe a
/// second time at the same moment. Neither may need another thread. False when the thread cannot be
/// started.
[[nodiscard]] bool shutDownOnSignals(std::function<void()> finish, std::function<void()> release);

}  // namespace revwarden
