#pragma once

#include <optional>
#include <string>
#include <utility>

#include "base/result.h"
#include "ports/linux/helper/asking_user.h"
#include "ports/linux/helper/helper_protocol.h"

namespace revwarden {

/// The operations of the helper.
///
/// The helper is driven by a program of a user to whom an administrator has granted the replacement
/// of applications and the installation of packages, which amounts to full control of the machine.
/// So the checks do not restrict that user. They limit the damage of mistakes, and they prevent
/// that other users, who may own a folder on the way, make use of the helper:
///
/// - Paths are absolute, without ".", ".." or doubled slashes.
/// - What is moved or written is a folder "*.app" (any letter case). The folder that contains it is
///   opened through no link, and everything is done relative to it, so that nobody can put another
///   folder in its place.
/// - The source of a copy is a folder, not a link.
/// - The script is a file "installPkg" that belongs to root, to the user or to this process and
/// that
///   others cannot write. The package exists, and its extension ends in "pkg".
class HelperOperations {
 public:
  /// With a `user`, applications go to that user's Trash, which XDG_DATA_HOME locates, with the
  /// user's rights; without one, to the Trash of this process's user. `agent` is the socket of the
  /// agent.
  HelperOperations(std::optional<AskingUser> user, int agent)
      : user_(std::move(user)), agent_(agent) {}

  struct Answer {
    Result<std::string> result;  // the operation's value, or its error
    bool isKnown = true;         // false for a request that the agent never sends
  };
  Answer carryOut(const HelperMessage& request);

 private:
  Result<std::string> moveToTrash(const std::string& path);
  Result<std::string> copy(const std::string& source, const std::string& destination);
  Result<std::string> runPackageScript(const std::string& script, const std::string& package);

  const std::optional<AskingUser> user_;
  const int agent_;
};

}  // namespace revwarden
