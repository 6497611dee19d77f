#pragma once

#include <string>

#include "base/result.h"

namespace revwarden {

/// Unpacks a disk image with 7zz into a folder, which is made. `kind` is the only format to try;
/// empty: any. Returns the innermost format that was found ("HFS", "Iso", "Dmg", ...). Fails before
/// the file system of the folder is full. On an error, files may be left in the folder.
///
/// The open file `held` stays open until 7zz has ended, also if this process is killed.
Result<std::string> unpackImage(const std::string& image, const std::string& folder,
                                const std::string& kind, int held);

}  // namespace revwarden
