#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/result.h"
#include "ports/posix/file_identity.h"

// Reads whole files and notices when they change.
namespace revwarden {

/// Which file it was, how long, and when it last changed. Two equal states mean the same contents
/// if the earlier one was settled.
class FileState {
 public:
  FileState() = default;
  explicit FileState(const struct stat& facts);

  bool operator==(const FileState&) const = default;

  /// Returns false if the file has changed so recently that another change could leave it in an
  /// equal state: file systems count time in ticks.
  bool isSettled() const;

 private:
  FileIdentity identity_;
  off_t size_ = 0;
  int64_t modified_ = 0;  // nanoseconds since 1970
  int64_t changed_ = 0;
};

/// The error code of `readRegularFile` if nothing is at the path.
inline constexpr char kMissing[] = "missing";

/// Reads a whole regular file into `contents`, whose memory is reused. Returns the state of the
/// file that was read. Never waits for a FIFO or a device: anything but a regular file of at most
/// `maxSize` bytes is an error. Error codes: `kMissing`, else "". Any thread.
Result<FileState> readRegularFile(const char* path, size_t maxSize, std::string& contents);

}  // namespace revwarden
