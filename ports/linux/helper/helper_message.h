#pragma once

#include <optional>
#include <string>
#include <vector>

// What the agent and its privileged helper say to each other over a connected stream socket, which
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

/// Whether the message went out whole; one of more than a MiB does not go out at all. Never raises
/// SIGPIPE.
[[nodiscard]] bool sendMessage(int socket, const HelperMessage& message);

/// Waits for the next message. Absent at the end of the stream, and when it holds something else.
std::optional<HelperMessage> receiveMessage(int socket);

}  // namespace revwarden
