#pragma once

#include <string_view>

namespace revwarden {

/// Whether the path begins at the root and can be handed to the system whole.
inline bool isFullPath(std::string_view path) {
  return path.starts_with('/') && path.find('\0') == path.npos;
}

}  // namespace revwarden
