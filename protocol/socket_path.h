#pragma once

#include <string>

namespace revwarden {

/// Where the agent of this user listens and its clients look for it, unless told otherwise:
/// "revwarden/agent.sock" in the user's runtime folder, that is $XDG_RUNTIME_DIR when it is an
/// absolute path, else /run/user/UID when that belongs to the user; without one,
/// /tmp/revwarden-UID/agent.sock. Neither the folder nor the socket need exist, and the folder may
/// be anybody's: who listens must make it private, who connects must ask the socket for its peer.
std::string defaultSocketPath();

}  // namespace revwarden
