#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "platform/file_manager.h"

namespace revwarden {

/// Decides which paths are never catalogued. Any thread.
class ExcludedPaths {
 public:
  explicit ExcludedPaths(FileManager& files) : files_(files) {}

  /// Returns true for a full path that is not on a storage device, or is in a Trash, in a package,
  /// in the temporary folder, or in the System, Library or Developer folder of its volume.
  bool isExcludedApplicationPath(PathInspector& inspector, const std::string& path);

 private:
  bool isBelowTemporaryDirectory(PathInspector& inspector, const std::string& path);

  FileManager& files_;
  std::mutex mutex_;
  std::optional<std::string> temporaryDirectory_;  // once it could be resolved
};

}  // namespace revwarden
