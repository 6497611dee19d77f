#pragma once

#include <string>

#include "base/result.h"

namespace revwarden {

/// Unpacks each volume of a disk image into a folder of its own in `folder`, which is empty. The
/// folder has the name of the volume if the image has one, else that of the image. On an error the
/// contents of `folder` are useless. `held` stays open as by `unpackImage`.
Result<> layOutVolumes(const std::string& image, const std::string& folder, int held);

}  // namespace revwarden
