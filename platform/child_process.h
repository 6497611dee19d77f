#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace revwarden {

/// A program to run as a child process.
struct ChildProcess {
  std::string program;  // full path; a port may look for its base name elsewhere first
  std::vector<std::string> arguments;  // without the program's name; no shell interprets them

  /// The whole environment of the child. If absent, it inherits the environment of this process.
  std::optional<std::map<std::string, std::string>> environment;

  /// Written to standard input, which is then closed. If absent, standard input is the null device.
  /// It is not an error if the child does not read it.
  std::optional<std::string> input;

  /// If true, standard output is collected, up to 16 MiB; otherwise it goes to the null device.
  bool collectsOutput = false;

  /// If true, the last 4 KiB of standard error are kept; otherwise it goes to the null device.
  bool collectsErrors = false;
};

/// Runs child processes. Any thread.
class ChildProcesses {
 public:
  /// How a child process ended.
  struct Completion {
    int exitStatus = 0;  // 128 plus the signal number if a signal ended the child
    std::string output;  // the collected standard output
    std::string errors;  // the end of standard error, without trailing line breaks
  };

  virtual ~ChildProcesses() = default;

  /// Runs the program, reads its output to the end and waits until it ends. The child inherits no
  /// open files except its standard streams. Returns nothing if it could not be started. Blocks
  /// without a time limit.
  virtual std::optional<Completion> run(const ChildProcess& child) = 0;
};

}  // namespace revwarden
