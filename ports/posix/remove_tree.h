#pragma once

#include <string>

namespace revwarden {

/// Removes a file or link, or a folder with all that is below it. Links are removed, never
/// followed, whatever others exchange meanwhile. The user's own folders that forbid it are made
/// writable. What cannot be removed stays, with the folders above it. Whether nothing is left. Any
/// thread.
///
/// On a Mac removefile(3) does it: the path is followed anew for each entry, so the promise about
/// what others exchange is as good as its own, and it stops at the first entry that stays.
bool removeTree(const std::string& path);

/// The same for an entry of an open folder; not on a Mac.
bool removeTreeAt(int folder, const char* name);

}  // namespace revwarden
