#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

#include "base/result.h"

namespace revwarden {

/// The user who asked for a helper that has more rights than the user.
struct AskingUser {
  uid_t uid;
  gid_t gid;  // the primary group
  std::string name;
};

/// Returns the user whose id is this decimal number, nullopt if there is none.
std::optional<AskingUser> askingUser(const std::string& uid);

/// Runs `work` in a child process that has the rights and groups of this user and no others, waits
/// for it and returns its result.
///
/// This is how to write into folders of the user: a privileged process could be redirected by links
/// that the user puts there. The files belong to the user. To be called while the calling process
/// has one thread.
Result<std::string> withRightsOf(const AskingUser& user,
                                 const std::function<Result<std::string>()>& work);

}  // namespace revwarden
