#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "platform/file_manager.h"

namespace revwarden {

/// The one rule for paths that are never catalogued. Any thread.
class ExcludedPaths {
 public:
  explicit ExcludedPaths(FileManager& files) : files_(files) {}

  /// Whether the path is on no storage device, in a Trash, inside a package, below the temporary
  /// folder, or in the System, Library or Developer folder of its volume.
  bool isExcludedApplicationPath(PathInspector& inspector, const std::string& path);

 private:
  bool isBelowTemporaryDirectory(PathInspector& inspector, const std::string& path);

  FileManager& files_;
  std::mutex mutex_;
  std::optional<std::string> temporaryDirectory_;  // kept for good once it could be resolved
};

}  // namespace revwarden
