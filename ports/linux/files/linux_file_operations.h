#pragma once

#include "platform/file_operations.h"

namespace revwarden {

/// The file system of Linux with the user's folders and Trash as the XDG rules name them. Neither
/// the copier nor the Trash follows a link below the path that it is given.
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
