#pragma once

#include <string>

#include "base/result.h"

namespace revwarden {

/// Moves a file, link or folder to the user's Trash: to the Trash of its volume if there is one,
/// else as a copy to the one in the user's data folder. In the Trash it gets another name if its
/// own is taken, and a note of where and when it was deleted.
///
/// A copy is complete before the path becomes free, which happens in one step: whenever the process
/// is killed, the item is whole at its path, in the Trash, or in both. What cannot be removed
/// afterwards stays beside the path under a hidden name.
///
/// Returns the full path in the Trash, empty if it cannot be determined. On an error the item is
/// whole at its path. The message of an error begins with the path that it is about; the code is
/// "noSpace" or "". Any thread.
Result<std::string> moveToTrash(const std::string& path);

}  // namespace revwarden
