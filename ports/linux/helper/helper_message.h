#pragma once

#include <optional>
#include <string>
#include <vector>

// The messages between the agent and its privileged helper, over a connected stream socket, which
// is the helper's standard input.
//
// The helper speaks first, with `helperGreeting`. From then on the agent sends one request at a
// time, the operation's selector and its arguments, and the helper answers each exactly once: with
// the operation's value ("" if it has none), or with the error's code and message.
namespace revwarden {

/// The fields of one message. On the socket it is its length, then each field's length and bytes;
/// lengths have 32 bits, in the byte order of the machine.
using HelperMessage = std::vector<std::string>;

inline const char* const helperGreeting = "revwarden-helper 1";

inline const char* const moveToTrashSelector = "moveItemAtPathToTrash:";
inline const char* const copySelector = "performCopyItemAtPath:toPath:";
/// Its arguments: the action's name, then each argument's key and value.
inline const char* const actionSelector = "performAction:withArguments:";

/// Returns false if the message could not be sent whole, or is longer than a MiB. Does not raise
/// SIGPIPE.
[[nodiscard]] bool sendMessage(int socket, const HelperMessage& message);

/// Waits for the next message. Returns nullopt at the end of the stream or for malformed bytes.
std::optional<HelperMessage> receiveMessage(int socket);

}  // namespace revwarden
