#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "ports/posix/file_descriptor.h"

// Processes that nobody waits for to the end, and the end of others. Any thread.
namespace revwarden {

/// Starts a program, its arguments after it, in a session of its own, where it lives on without
/// this process. Its id, or -1; the caller has it reaped.
pid_t startInOwnSession(std::vector<std::string> command);

/// A descriptor of the very process, whoever bears its number later. None, with `errno` set, when
/// there is no such process (ESRCH) or no further descriptor.
FileDescriptor openProcess(pid_t pid);

/// Does nothing to a process that has ended.
void sendSignal(const FileDescriptor& process, int signal);

/// Waits for the end of a process, which need not have been reaped. Whether it came in time; never,
/// for no descriptor.
bool endsBefore(std::chrono::steady_clock::time_point deadline, const FileDescriptor& process);

/// Reaps a child when it ends, by a thread that lasts as long as the child. Without memory for a
/// thread it stays unreaped.
void reapInBackground(pid_t child);

}  // namespace revwarden
