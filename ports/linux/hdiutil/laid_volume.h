#pragma once

#include <optional>
#include <string>

namespace revwarden {

/// Makes of an unpacked volume what a mounted one is. Nobody can write it, and all can read it. No
/// link leads out of it, save one at its top to "/Applications" and those that lead to nothing:
/// such links are removed, as is all that is neither file, folder nor link. Where no file may be
/// executed the image keeps no modes, and all may be. A link below `unpackedAt` stands for an
/// absolute one. Absent on success, else the reason.
std::optional<std::string> sealVolume(const std::string& volume, const std::string& unpackedAt);

}  // namespace revwarden
