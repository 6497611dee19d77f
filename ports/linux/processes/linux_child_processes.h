#pragma once

#include <optional>
#include <string>

#include "platform/child_process.h"
#include "platform/workspace.h"
#include "ports/posix/running_children.h"

namespace revwarden {

/// Child processes, with a disk-image tool on a system that has none: a program named "hdiutil" is
/// the one of this product, and what it attaches with "-autoopen", which it has no desktop to open
/// on, is opened here. A program named "unzip" is kept from writing out of the folder "-d" through
/// links that lie there already: those are removed before, and it is not started when one is left.
class LinuxChildProcesses final : public ChildProcesses {
 public:
  /// The folders that are searched for a program by its base name before the path that is asked
  /// for. A file that cannot be executed does not count.
  struct Places {
    std::optional<std::string> tools;  // for every program
    std::string ownTools;              // for "hdiutil" only, after the former
  };

  /// `workspace` must outlive this.
  LinuxChildProcesses(Places places, Workspace& workspace);

  std::optional<Completion> run(const ChildProcess& child) override;

  /// As `RunningChildren::endAll`.
  void endAll() { children_.endAll(); }

 private:
  std::string resolved(const std::string& program) const;
  void openMountPoint(const std::string& propertyList);

  const Places places_;
  Workspace& workspace_;
  RunningChildren children_;
};

}  // namespace revwarden
