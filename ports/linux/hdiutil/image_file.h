#pragma once

#include <string>

namespace revwarden {

/// What an image file holds, as far as its signatures tell.
enum class ImageKind {
  none,    // no disk image
  image,   // compressed image, partitioned disk or volume
  hybrid,  // an ISO 9660 image that may hold an HFS+ volume of the same files, which keeps more
};

/// Never waits for a FIFO or a device, which are no images.
ImageKind kindOfImage(const std::string& path);

}  // namespace revwarden
