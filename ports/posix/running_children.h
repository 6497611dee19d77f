#pragma once

#include <sys/types.h>

#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "platform/child_process.h"

namespace revwarden {

/// Runs child processes and can end all that run. Each child leads a session of its own, without a
/// terminal, so that what it starts in turn ends with it. The host ignores SIGPIPE. Any thread.
class RunningChildren {
 public:
  /// As `ChildProcesses::run`, but with exactly this program. The end of the output comes when
  /// nobody holds it open any more, the child's own children included.
  std::optional<ChildProcesses::Completion> run(const std::string& program,
                                                const ChildProcess& child);

  /// Kills all children with what they started, and lets no other be started. Waits for nothing but
  /// a start under way.
  void endAll();

 private:
  /// The child's ends; -1 stands for the null device.
  struct Streams {
    int input, output, errors;
  };
  pid_t start(const std::string& program, const ChildProcess& child, const Streams& streams);
  int waitForEndOf(pid_t pid);

  std::mutex mutex_;  // held from a child's start until it is known, and never while it is reaped
  bool ended_ = false;
  std::set<pid_t> running_;  // not reaped yet, so that no other process can have these ids
};

}  // namespace revwarden
