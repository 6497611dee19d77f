#pragma once

#include <functional>

namespace revwarden {

/// Names an entry of a folder, and its kind: one of the DT_ values of <dirent.h>, never DT_UNKNOWN.
/// Whether to go on.
using EntryUse = std::function<bool(const char* name, unsigned char kind)>;

/// Calls `use` with every entry of an open folder but "." and "..", in the order that the file
/// system gives. Entries that `use` has seen may be removed meanwhile. False when `use` said so or
/// the folder cannot be read (`errno` says why). Any thread.
bool forEachEntry(int folder, const EntryUse& use);

}  // namespace revwarden
