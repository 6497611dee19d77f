#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "base/result.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// The right to listen on a socket's path, which one process has at a time. Any thread.
///
/// It rests on a lock of a file beside the socket. A process that is killed loses the lock, and the
/// next one takes over the socket that it left.
class SocketClaim {
 public:
  /// Claims the path and creates its folder with mode 0700 if it is missing. Fails if another
  /// process has the path, if it is taken by something other than an abandoned socket, or if other
  /// users could replace it.
  static Result<std::unique_ptr<SocketClaim>> create(const std::string& path);

  /// Releases the claim.
  ~SocketClaim();
  SocketClaim(const SocketClaim&) = delete;
  SocketClaim& operator=(const SocketClaim&) = delete;

  /// Returns a listening, non-blocking socket of mode 0600. Call it at most once.
  Result<FileDescriptor> listen();

  /// Removes the socket and the lock file. Further calls do nothing.
  void release();

 private:
  SocketClaim(std::string path, FileDescriptor lock)
      : path_(std::move(path)), lock_(std::move(lock)) {}

  const std::string path_;
  const FileDescriptor lock_;
  std::atomic<bool> isReleased_ = false;
};

}  // namespace revwarden
