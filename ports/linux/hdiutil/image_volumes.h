#pragma once

#include <optional>
#include <string>

namespace revwarden {

/// Lays out each volume of a disk image as a folder in `folder`, which is empty. It has the name of
/// the volume where the image tells one, else that of the image. Absent on success, else the
/// reason; what is in the folder then is of no use. `held` is kept open as by `unpack`.
std::optional<std::string> layOutVolumes(const std::string& image, const std::string& folder,
                                         int held);

}  // namespace revwarden
