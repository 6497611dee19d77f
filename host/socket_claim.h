#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// The right to listen on a socket's path, which at most one process has at a time.
///
/// It rests on a locked file beside the socket, so a process that was killed loses it, and what it
/// left behind is taken over. Any thread.
class SocketClaim {
 public:
  /// Prepares the folder, which is made with mode 0700 when it is missing, and claims the path.
  /// nullptr, with the reason for people, when another process has it, when the path is taken by
  /// something else than an abandoned socket, or when others could put something in its place.
  static std::unique_ptr<SocketClaim> create(const std::string& path, std::string& error);

  /// Releases the claim.
  ~SocketClaim();
  SocketClaim(const SocketClaim&) = delete;
  SocketClaim& operator=(const SocketClaim&) = delete;

  /// A listening socket of mode 0600 that does not block; none, with the reason, when it cannot be
  /// made. At most once.
  FileDescriptor listen(std::string& error);

  /// Removes the socket and the lock. The first call counts.
  void release();

 private:
  SocketClaim(std::string path, FileDescriptor lock)
      : path_(std::move(path)), lock_(std::move(lock)) {}

  const std::string path_;
  const FileDescriptor lock_;
  std::atomic<bool> isReleased_ = false;
};

}  // namespace revwarden
