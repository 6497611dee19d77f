#pragma once

#include <optional>
#include <string>

namespace revwarden {

struct Platform;

/// How an attached disk image shows: not at all, among the volumes, or opened in the file viewer.
enum class ImageShows { nowhere, amongVolumes, opened };

/// Attaches the disk image at a path, answering a prompt of the image with yes. Its first mount
/// point; absent when there is no path, the file is no disk image or the tool is missing. Blocks;
/// any thread.
std::optional<std::string> attachDiskImage(const Platform& platform,
                                           const std::optional<std::string>& imagePath,
                                           ImageShows shows);

/// Detaches the image mounted there, as far as that is possible. Blocks; any thread.
void detachDiskImage(const Platform& platform, const std::string& mountPoint);

}  // namespace revwarden
