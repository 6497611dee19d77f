#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

#include "base/result.h"

namespace revwarden {

/// The user for whom a helper with more rights than his works.
struct AskingUser {
  uid_t uid;
  gid_t gid;  // of his primary group
  std::string name;
};

/// The user whose id is this decimal number; absent when there is none.
std::optional<AskingUser> askingUser(const std::string& uid);

/// Runs `work` in a process of its own that has this user's rights, groups and nothing more, waits
/// for it and returns its result.
///
/// What a privileged process writes into a folder of the user can be led astray by links that he
/// puts there meanwhile; what this process writes cannot, and belongs to him. To be called while
/// the calling process has one thread.
Result<std::string> withRightsOf(const AskingUser& user,
                                 const std::function<Result<std::string>()>& work);

}  // namespace revwarden
