#pragma once

#include <string>

namespace revwarden {

/// Removes a file or link, or a folder with all that is below it. Links are removed, never
/// followed, even if others rename folders at the same time. Folders of the user that forbid it are
/// made writable. What cannot be removed stays, with the folders above it. Returns true if nothing
/// is left. Any thread.
///
/// On a Mac removefile(3) does it. It follows the path anew for each entry, so the promise about
/// what others rename is as good as its own, and it stops at the first entry that it cannot remove.
bool removeTree(const std::string& path);

/// The same for the entry `name` of an open folder. Linux only.
bool removeTreeAt(int folder, const char* name);

}  // namespace revwarden
