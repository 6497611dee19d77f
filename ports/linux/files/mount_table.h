#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// What is mounted somewhere.
struct Mount {
  /// Which file system it is: mounts of one file system, such as bind mounts, have the same.
  uint64_t device = 0;
  /// Whether it is a local file system that stores files.
  bool isStorageDevice = false;
};

/// Mounts by the number that `statx` gives as `stx_mnt_id`.
using Mounts = std::unordered_map<uint64_t, Mount>;

/// The mounts that a text in the format of /proc/self/mountinfo lists; lines that cannot be
/// understood are left out.
Mounts mountsListedIn(std::string_view mountinfo);

/// The mount that holds an existing path, found without the table: the root folder of a changed
/// root is listed nowhere. Absent when the path cannot be looked at.
std::optional<Mount> unlistedMountAtPath(const std::string& path);

/// The mounts of this process. Any thread.
class MountTable {
 public:
  /// The mounts as they are now. The table is kept, and read again only after the kernel said that
  /// it changed. Never null; empty when the system does not show its mounts.
  std::shared_ptr<const Mounts> current();

 private:
  bool hasChanged() const;
  void readAgain();

  std::mutex mutex_;
  FileDescriptor table_;  // the kernel's, open so that it tells of changes
  std::shared_ptr<const Mounts> mounts_;
};

}  // namespace revwarden
