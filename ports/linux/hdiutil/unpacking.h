#pragma once

#include <optional>
#include <string>

namespace revwarden {

/// What came of unpacking: the innermost kind of what was unpacked ("HFS", "Iso", "Dmg", ...), or
/// the reason why nothing was. What was written before a failure is left.
struct Unpacked {
  std::string kind;
  std::optional<std::string> error;
};

/// Unpacks an image into a folder, which is made, with 7zz. `kind` is tried only, or anything when
/// empty. Stops while the file system of the folder still has some space. `held` is kept open until
/// 7zz has ended, whatever becomes of this process.
Unpacked unpack(const std::string& image, const std::string& folder, const std::string& kind,
                int held);

}  // namespace revwarden
