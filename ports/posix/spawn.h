#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "base/result.h"

namespace revwarden {

/// A program to start. It begins with no signal blocked and the default action for every signal,
/// whatever this process has set, and inherits no open files except the three streams.
struct SpawnRequest {
  /// The program, then its arguments. A name without a slash is searched for in PATH.
  std::vector<std::string> command;

  /// "NAME=value"; nullopt: the environment of this process.
  std::optional<std::vector<std::string>> environment;

  // Descriptors of this process for the child's streams; -1: the null device.
  int input = -1;
  int output = -1;
  int error = -1;

  /// With a process group of its own, a signal to the group also reaches the processes that the
  /// child starts. With a session of its own, the child can also outlive this process and its
  /// terminal.
  enum class Belongs { here, inOwnGroup, inOwnSession };
  Belongs belongs = Belongs::here;
};

/// Starts a program and returns its process id. It is an error if the program cannot be executed.
/// The caller must have the process reaped. Any thread.
Result<pid_t> spawn(const SpawnRequest& request);

/// Waits for the end of a child and reaps it. Returns its exit status, or 128 plus the number of
/// the signal that ended it; -1 if there is no such child.
int waitForEnd(pid_t pid);

}  // namespace revwarden
