#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

// Disk images that are attached: their volumes are unpacked into read-only folders below "volumes"
// in the private temporary folder of the user. What is still attached when the machine starts again
// is removed by the next `attachImage`.
namespace revwarden {

/// Attaches an image and returns its mount points, at least one. An image whose file has not
/// changed since it was attached keeps its mount points. On an error nothing is left. Only one
/// image is unpacked at a time; other processes wait.
Result<std::vector<std::string>> attachImage(const std::string& image);

/// Removes all volumes of the image that has this mount point. Nothing but a mount point of an
/// attached image is ever removed.
Result<> detachVolume(std::string_view mountPoint);

}  // namespace revwarden
