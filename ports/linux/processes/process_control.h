#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "base/result.h"
#include "ports/posix/file_descriptor.h"

// Starts programs that outlive this process, and ends and awaits processes by a descriptor (pidfd),
// which never refers to a later process with the same id. Any thread.
namespace revwarden {

/// Starts a program with its arguments in a session of its own, so that it can outlive this
/// process. Returns its id. The caller must have it reaped.
Result<pid_t> startInOwnSession(std::vector<std::string> command);

/// Opens a process. Returns none, see `errno`, if there is no such process (ESRCH) or no descriptor
/// is left.
FileDescriptor openProcess(pid_t pid);

/// Does nothing to a process that has ended.
void sendSignal(const FileDescriptor& process, int signal);

/// Waits until a process ends, reaped or not. Returns false if it still runs at the deadline;
/// always for an invalid descriptor.
bool endsBefore(std::chrono::steady_clock::time_point deadline, const FileDescriptor& process);

/// Reaps a child when it ends, on a thread that lasts as long as the child. Without memory for a
/// thread the child stays a zombie.
void reapInBackground(pid_t child);

}  // namespace revwarden
