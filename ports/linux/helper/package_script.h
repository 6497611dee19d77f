#pragma once

#include <string>

#include "base/result.h"

namespace revwarden {

/// Runs the script that installs a package and waits for its end. Its environment is SCRIPT,
/// PKG_PATH, this process's PATH and HOME, and a fixed language; nothing else that the user may
/// have set reaches it. An error has the code "packageFailed", and the end of what the script wrote
/// to standard error in its message.
///
/// When the peer of the stream socket `agent` closes its end, the script is killed together with
/// the processes that it started.
Result<> runPackageScript(const std::string& script, const std::string& package, int agent);

}  // namespace revwarden
