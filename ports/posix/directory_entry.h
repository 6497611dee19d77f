#pragma once

#include <optional>
#include <string>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// Where something is or shall be: a name in an open folder. It stays the same place when the
/// folder is renamed or exchanged meanwhile.
struct DirectoryEntry {
  FileDescriptor folder;  // for use with names only: it may be one that cannot be read
  std::string name;

  /// Absent, with the reason in `errno`, when the folder cannot be opened or the path ends in no
  /// name ("/", "..").
  static std::optional<DirectoryEntry> at(const std::string& path);
};

}  // namespace revwarden
