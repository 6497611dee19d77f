#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_manager.h"
#include "ports/linux/files/linux_path_inspector.h"
#include "ports/linux/files/mount_table.h"

namespace revwarden {

/// The file system of Linux. The user's home and Trash are those that HOME and XDG_DATA_HOME name
/// when the object is made.
class LinuxFileManager : public FileManager {
 public:
  /// `volumeFolders` are treated as roots of separate local volumes, in addition to the mounts.
  LinuxFileManager(std::vector<std::string> volumeFolders, std::string temporaryDirectory);

  /// The inspector must not outlive this object.
  std::unique_ptr<PathInspector> inspectorForPass() override;

  std::string temporaryDirectory() const override { return temporaryDirectory_; }

  /// Returns true if this user may rename the item in its folder. A link is judged itself, not its
  /// target.
  bool isMovableFileAtPath(std::string_view path) const override;

 private:
  const WellKnownFolders folders_;
  const std::string temporaryDirectory_;
  MountTable mountTable_;
};

}  // namespace revwarden
