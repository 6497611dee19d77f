#pragma once

#include <optional>
#include <string>

#include "base/result.h"

namespace revwarden {

struct Platform;

/// Where the user sees an attached disk image: nowhere, in the list of volumes, or in a new window.
enum class ImageShows { nowhere, amongVolumes, opened };

/// Attaches the disk image at a full path and accepts its licence. Returns the first mount point;
/// an error if there is no path, the file is not a disk image or the tool is missing. Blocks. Any
/// thread.
Result<std::string> attachDiskImage(const Platform& platform,
                                    const std::optional<std::string>& imagePath, ImageShows shows);

/// Detaches the disk image at a mount point. Ignores errors. Blocks. Any thread.
void detachDiskImage(const Platform& platform, const std::string& mountPoint);

}  // namespace revwarden
