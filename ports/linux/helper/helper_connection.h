#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "base/result.h"
#include "ports/linux/helper/helper_message.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// The agent's end of the connection to a helper. The helper ends when it is destroyed. Any thread.
class HelperConnection {
 public:
  explicit HelperConnection(FileDescriptor socket) : socket_(std::move(socket)) {}

  /// Waits for the greeting of the helper. Returns false if the helper ends first or sends
  /// something else. `process` is a pidfd of the program that was started, or -1. Its end is
  /// noticed even if other processes have the helper's end of the socket open.
  bool isGreeted(int process);

  /// Sends a request after earlier ones were answered, and waits for the answer: the operation's
  /// value ("" if it has none) or its error. The end of the helper or of the connection is an
  /// error.
  Result<std::string> ask(const HelperMessage& request);

  /// Tells the helper that no request follows, without waiting. A running one is still answered.
  /// Returns true for the first call.
  bool finish();

  /// As `finish`, but a waiting `ask` returns at once with the error that the helper has ended.
  void abandon();

 private:
  const FileDescriptor socket_;
  std::mutex oneRequest_;
  std::atomic<bool> finished_{false};
};

}  // namespace revwarden
