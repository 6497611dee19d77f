#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace revwarden {

/// Returns true if the path is absolute and contains no NUL, which would cut it short.
inline bool isFullPath(std::string_view path) {
  return path.starts_with('/') && path.find('\0') == path.npos;
}

/// Returns the absolute path with every symbolic link resolved; absent if nothing exists there.
inline std::optional<std::string> resolvedPath(std::string_view path) {
  if (!isFullPath(path)) return std::nullopt;
  std::error_code failed;
  std::string resolved = std::filesystem::canonical(path, failed);
  if (failed) return std::nullopt;
  return resolved;
}

}  // namespace revwarden
