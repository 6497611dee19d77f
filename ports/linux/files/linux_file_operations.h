#pragma once

#include "platform/file_operations.h"

namespace revwarden {

/// Changes to the file system of Linux. The user's folders and Trash are those of the XDG
/// standards. No operation follows a link below the path that it is given.
class LinuxFileOperations final : public FileOperations {
 public:
  std::string homeDirectory() const override;
  std::vector<std::string> downloadsDirectories() const override;
  std::vector<std::string> contentsOfDirectoryAtPath(std::string_view path) const override;
  bool removeItemAtPath(std::string_view path) override;
  Result<std::string> moveItemAtPathToTrash(std::string_view path) override;
  Result<> copyDirectoryAtPath_toPath(std::string_view source,
                                      std::string_view destination) override;
};

}  // namespace revwarden
