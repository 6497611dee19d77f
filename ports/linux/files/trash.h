#pragma once

#include <string>

#include "base/result.h"

namespace revwarden {

/// Moves a file, link or folder to the user's Trash: to that of its volume where there is one, else
/// as a copy to the one in the user's data folder. In the Trash it gets another name when its own
/// is taken, and a note of where and when it was deleted.
///
/// A copy is complete before the path becomes free, and that happens in one step: whenever the
/// process is killed, the thing is whole at its path, in the Trash, or in both. What cannot be
/// removed afterwards stays beside the path under a hidden name.
///
/// Returns the path in the Trash, empty if it cannot be found out. On an error it is whole at its
/// path. Any thread.
Result<std::string> moveToTrash(const std::string& path);

}  // namespace revwarden
