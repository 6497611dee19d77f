#pragma once

#include <string>

namespace revwarden {

/// What a file is, judged by its signatures.
enum class ImageKind {
  none,    // no disk image
  image,   // compressed image, partitioned disk or volume
  hybrid,  // an ISO 9660 image that may also be an HFS+ volume of the same files, with more data
};

/// Never waits for a FIFO or a device, which are no images.
ImageKind kindOfImage(const std::string& path);

}  // namespace revwarden
