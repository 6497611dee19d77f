#pragma once

#include <unistd.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

// Owned file descriptors, and reading and writing them to the end. Functions report a failure as
// the system calls do: `errno` holds the reason.
namespace revwarden {

/// Owns a file descriptor and closes it; -1 is none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
  }

  int get() const { return fd_; }

  /// Closes it now. Returns false when the file system reports that data written earlier was lost.
  bool close() { return ::close(std::exchange(fd_, -1)) == 0; }

  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

/// Both ends of a pipe. Child processes do not inherit them.
struct Pipe {
  FileDescriptor readEnd, writeEnd;
};

/// Returns nullopt, see `errno`, when no descriptors are left.
std::optional<Pipe> makePipe();

/// Appends to `text` what is read from `file` up to its end. Blocks. Returns false, see `errno`,
/// when reading fails.
bool readToEnd(int file, std::string& text);

/// Writes all bytes. Blocks. Returns false, see `errno`, when writing fails.
bool writeBytes(int file, std::string_view bytes);

}  // namespace revwarden
