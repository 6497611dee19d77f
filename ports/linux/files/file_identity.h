#pragma once

#include <sys/stat.h>
#include <time.h>

#include <cstdint>

namespace revwarden {

/// Tells one state of a file from every other: which file it is, how long, and when it changed.
class FileIdentity {
 public:
  FileIdentity() = default;
  explicit FileIdentity(const struct stat& status)
      : device_(status.st_dev),
        inode_(status.st_ino),
        size_(status.st_size),
        modified_(nanoseconds(status.st_mtim)),
        changed_(nanoseconds(status.st_ctim)) {}

  bool operator==(const FileIdentity&) const = default;

  /// Whether the file will look different after its next change. One that changed only just now may
  /// change again within the same tick of the file system's clock.
  bool isSettled() const {
    constexpr int64_t kLongestTick = 20'000'000;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return changed_ + kLongestTick < nanoseconds(now);
  }

 private:
  static int64_t nanoseconds(const timespec& time) {
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
  }

  dev_t device_ = 0;
  ino_t inode_ = 0;
  off_t size_ = 0;
  int64_t modified_ = 0;
  int64_t changed_ = 0;
};

}  // namespace revwarden
