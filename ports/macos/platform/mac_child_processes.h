#pragma once

#include "platform/child_process.h"
#include "ports/posix/running_children.h"

namespace revwarden {

/// Child processes: the system's own tools, at exactly their paths.
class MacChildProcesses final : public ChildProcesses {
 public:
  std::optional<Completion> run(const ChildProcess& child) override {
    return children_.run(child.program, child);
  }

 private:
  RunningChildren children_;
};

}  // namespace revwarden
