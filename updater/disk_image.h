#pragma once

#include <optional>
#include <string>

#include "base/result.h"

namespace revwarden {

struct Platform;

/// How an attached disk image shows: not at all, among the volumes, or opened in the file viewer.
enum class ImageShows { nowhere, amongVolumes, opened };

/// Attaches the disk image at a path, answering a prompt of the image with yes. Returns its first
/// mount point; an error if there is no path, the file is no disk image or the tool is missing.
/// Blocks; any thread.
Result<std::string> attachDiskImage(const Platform& platform,
                                    const std::optional<std::string>& imagePath, ImageShows shows);

/// Detaches the image at a mount point, as far as that is possible. Blocks; any thread.
void detachDiskImage(const Platform& platform, const std::string& mountPoint);

}  // namespace revwarden
