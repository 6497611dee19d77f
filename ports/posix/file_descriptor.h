#pragma once

#include <unistd.h>

#include <utility>

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

  /// Closes it now. Whether what was written has arrived, as far as the file system tells by then.
  bool close() { return ::close(std::exchange(fd_, -1)) == 0; }

  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

}  // namespace revwarden
