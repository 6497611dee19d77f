#pragma once

#include <optional>
#include <string>
#include <utility>

#include "base/result.h"
#include "ports/linux/helper/asking_user.h"
#include "ports/linux/helper/helper_message.h"

namespace revwarden {

/// What the helper does, and all that it does.
///
/// Who drives it is a program of a user to whom an administrator granted that applications are
/// replaced and packages installed: whoever may install packages has the machine. So the checks
/// do not keep that user from what he was granted. They keep his mistakes small, and keep everybody
/// else, who may own a folder on the way, from making use of his helper:
///
/// - Paths are absolute, without "." or ".." or doubled slashes.
/// - What is moved or written is a folder "*.app" (any case of letters). The folder around it is
///   entered step by step from the root without following a link, and everything is done from
///   there, so that nobody can put another folder in its place.
/// - The source of a copy is a folder, and no link.
/// - The script is a file "installPkg" of root, of the user or of this process, which others cannot
///   write; the package exists, and its extension ends in "pkg".
class HelperOperations {
 public:
  /// With a user, what goes to the Trash goes to his, with his rights, wherever XDG_DATA_HOME says
  /// it is; without one to the Trash of this process's own. `agent` is the socket of the agent.
  HelperOperations(std::optional<AskingUser> user, int agent)
      : user_(std::move(user)), agent_(agent) {}

  struct Answer {
    Result<std::string> result;  // the operation's value, or its error
    bool isKnown = true;         // false: no request of the agent looks like this
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
