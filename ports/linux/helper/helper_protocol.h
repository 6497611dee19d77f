#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/result.h"
#include "ports/posix/file_descriptor.h"

// How the agent and its privileged helper talk, over a connected stream socket, which is the
// helper's standard input.
//
// The helper speaks first, with `kHelperGreeting`. From then on the agent sends one request at a
// time, the operation's selector and its arguments, and the helper answers each exactly once.
namespace revwarden {

/// The fields of one message. On the socket it is its length, then each field's length and bytes;
/// lengths have 32 bits, in the byte order of the machine.
using HelperMessage = std::vector<std::string>;

inline constexpr char kHelperGreeting[] = "revwarden-helper 1";

inline constexpr char kMoveToTrashSelector[] = "moveItemAtPathToTrash:";
inline constexpr char kCopySelector[] = "performCopyItemAtPath:toPath:";
/// Its arguments: the action's name, then each argument's key and value.
inline constexpr char kActionSelector[] = "performAction:withArguments:";

/// Returns false if the message could not be sent whole, or is longer than a MiB. Does not raise
/// SIGPIPE.
[[nodiscard]] bool sendMessage(int socket, const HelperMessage& message);

/// Waits for the next message. Returns nullopt at the end of the stream or for malformed bytes.
std::optional<HelperMessage> receiveMessage(int socket);

/// Sends the answer to a request: one field with the operation's value ("" if it has none), or two
/// with the error's code and message. Returns false as `sendMessage`.
[[nodiscard]] bool sendAnswer(int socket, const Result<std::string>& answer);

/// Waits for an answer. It is an error if the stream ends first.
Result<std::string> receiveAnswer(int socket);

/// The agent's end of the connection to a helper. The helper ends when it is destroyed. Any thread.
class HelperConnection {
 public:
  explicit HelperConnection(FileDescriptor socket) : socket_(std::move(socket)) {}

  /// Waits for the greeting of the helper. Returns false if the helper ends first or sends
  /// something else. `process` is a pidfd of the program that was started, or -1. Its end is
  /// noticed even if other processes have the helper's end of the socket open.
  bool isGreeted(int process);

  /// Sends a request after earlier ones were answered, and waits for the answer.
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
