#pragma once

#include <sys/stat.h>

#include <compare>

namespace revwarden {

/// Identifies a file or folder whatever its path is, for as long as it exists.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;

  FileIdentity() = default;
  explicit FileIdentity(const struct stat& facts) : device(facts.st_dev), inode(facts.st_ino) {}

  auto operator<=>(const FileIdentity&) const = default;
};

}  // namespace revwarden
