#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace revwarden {

/// A program to start. It begins with no signal blocked and every signal at its default, whatever
/// this process did, and inherits no other open files than the three streams.
struct SpawnRequest {
  /// The program, then its arguments. A name without a slash is looked for in PATH.
  std::vector<std::string> command;

  /// "NAME=value"; absent: the environment of this process.
  std::optional<std::vector<std::string>> environment;

  // Descriptors of this process for the child's streams; -1 stands for the null device.
  int input = -1;
  int output = -1;
  int error = -1;

  /// A group of its own lets a signal reach what the child starts in turn; a session of its own
  /// lets it live on without this process and its terminal.
  enum class Belongs { here, inOwnGroup, inOwnSession };
  Belongs belongs = Belongs::here;
};

/// The id of the new process, or an errno value.
struct Spawned {
  pid_t pid = -1;
  int error = 0;

  explicit operator bool() const { return pid > 0; }
};

/// Starts the program. A program that cannot be executed is an error here already. Any thread; who
/// asked waits for the end of the process.
Spawned spawn(const SpawnRequest& request);

/// Waits for the end of a child and reaps it. Its exit status, or 128 plus the number of the signal
/// that ended it; -1 when there is no such child.
int waitForEnd(pid_t pid);

}  // namespace revwarden
