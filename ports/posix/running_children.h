#pragma once

#include <sys/types.h>

#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "platform/child_process.h"

namespace revwarden {

/// Runs child processes, and can kill all that run. Each child leads a session of its own, without
/// a terminal, so that the processes that it starts can be killed with it. The process must ignore
/// SIGPIPE. Any thread.
class RunningChildren {
 public:
  /// As `ChildProcesses::run`, but with exactly this program. Collected output and errors end when
  /// no process has them open any more, including processes that the child started.
  std::optional<ChildProcesses::Completion> run(const std::string& program,
                                                const ChildProcess& child);

  /// Kills all children with the processes that they started, and forbids to start others. Waits
  /// only for a start that is under way.
  void endAll();

 private:
  /// The child's ends; -1 stands for the null device.
  struct Streams {
    int input, output, errors;
  };
  pid_t start(const std::string& program, const ChildProcess& child, const Streams& streams);
  int waitForEndOf(pid_t pid);

  std::mutex mutex_;  // held while a child is started and entered, not while it is reaped
  bool ended_ = false;
  std::set<pid_t> running_;  // not reaped yet, so no other process can have these ids
};

}  // namespace revwarden
