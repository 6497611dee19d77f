#pragma once

#include <string>

namespace revwarden {

/// Removes a file or link, or a folder with all that is below it. Links are removed, never
/// followed, whatever others exchange meanwhile. The user's own folders that forbid it are made
/// writable. What cannot be removed stays, with the folders above it. Whether nothing is left. Any
/// thread.
bool removeTree(const std::string& path);

/// The same for an entry of an open folder.
bool removeTreeAt(int folder, const char* name);

}  // namespace revwarden
