#pragma once

#include <optional>
#include <string>

namespace revwarden {

/// Runs the script for a package, with the environment SCRIPT, PKG_PATH, this process's PATH and
/// HOME, and a fixed language; nothing else of what the user may have set reaches it. Absent when
/// it ends with status 0, else an error with the end of what it wrote to standard error.
///
/// When the peer of the stream socket `agent` goes away meanwhile, the script is killed together
/// with what it started.
std::optional<std::string> runScript(const std::string& script, const std::string& package,
                                     int agent);

}  // namespace revwarden
