#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "base/result.h"
#include "ports/linux/helper/helper_message.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// The agent's end of its conversation with a helper. Any thread. The helper ends when this does.
class HelperConnection {
 public:
  explicit HelperConnection(FileDescriptor socket) : socket_(std::move(socket)) {}

  /// Waits until the helper has greeted; false when it ends, or says something else, before that.
  /// `process` (a pidfd, or -1) is the program started: its end counts even when others hold on to
  /// the helper's end of the socket.
  bool isGreeted(int process);

  /// Sends the request when those before it have been answered, and waits for the answer: the
  /// operation's value ("" if it has none) or its error. The end of the helper and of the
  /// connection are errors.
  Result<std::string> ask(const HelperMessage& request);

  /// Lets the helper know that no request follows, and does not wait. One that it carries out is
  /// still answered. Whether this was the first call.
  bool finish();

  /// As `finish`, but who waits for an answer is told at once that the helper has ended.
  void abandon();

 private:
  const FileDescriptor socket_;
  std::mutex oneRequest_;
  std::atomic<bool> finished_{false};
};

}  // namespace revwarden
