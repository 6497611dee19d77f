#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace revwarden {

/// A program to run as a child process.
struct ChildProcess {
  std::string program;  // full path; a port may look for its base name elsewhere first
  std::vector<std::string> arguments;  // without the program's own name; never seen by a shell

  /// The whole environment of the child; absent: that of this process.
  std::optional<std::map<std::string, std::string>> environment;

  /// Written to its standard input, which is then closed; absent: the null device. A child that
  /// does not read it is no error.
  std::optional<std::string> input;

  /// Whether to collect its standard output, up to 16 MiB; otherwise that goes to the null device.
  bool collectsOutput = false;

  /// Whether to keep the end of its standard error, up to 4 KiB; otherwise that goes to the null
  /// device.
  bool collectsErrors = false;
};

/// Runs child processes. Any thread.
class ChildProcesses {
 public:
  struct Completion {
    int exitStatus = 0;  // 128 plus the signal's number when a signal ended it
    std::string output;  // what was collected
    std::string errors;  // the end of standard error, without line breaks at its end
  };

  virtual ~ChildProcesses() = default;

  /// Runs the program and waits for its end, after its output was read to the end. The child
  /// inherits no other open files. Absent if it could not be started.
  virtual std::optional<Completion> run(const ChildProcess& child) = 0;
};

}  // namespace revwarden
