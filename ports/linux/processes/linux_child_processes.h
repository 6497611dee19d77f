#pragma once

#include <optional>
#include <string>

#include "platform/child_process.h"
#include "platform/workspace.h"
#include "ports/posix/running_children.h"

namespace revwarden {

/// Child processes, with two programs treated specially:
///
/// - "hdiutil", which Linux lacks, is the one of this product. What it attaches with "-autoopen" is
///   opened here, as the tool itself has no desktop.
/// - "unzip" must not write out of its target folder (option "-d") through links that an earlier
///   archive left there. Such links are removed first; if one cannot be removed, unzip is not
///   started.
class LinuxChildProcesses final : public ChildProcesses {
 public:
  /// The folders in which an executable file with the base name of a program replaces that program.
  struct Places {
    std::optional<std::string> tools;  // for every program
    std::string ownTools;              // for "hdiutil" only, if `tools` has none
  };

  /// `workspace` must outlive this object.
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
