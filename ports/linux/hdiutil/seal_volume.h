#pragma once

#include <string>

#include "base/result.h"

namespace revwarden {

/// Gives a volume that was unpacked into the folder `volume` the properties of a mounted one:
///
/// - Everybody may read it, nobody may write it. Files that were executable stay so; if none was,
///   the image has no modes, and all become executable.
/// - It contains only files, folders and links. Links that lead out of it are removed, except one
///   to "/Applications" at its top and those to something that does not exist.
/// - A link to a path below `unpackedAt` becomes a link to that path from the root: 7zz stores
///   absolute links in that way.
Result<> sealVolume(const std::string& volume, const std::string& unpackedAt);

}  // namespace revwarden
