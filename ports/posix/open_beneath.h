#pragma once

#include <string>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// Opens `path`, relative to the open directory `folder`, with the flags of open(2) and O_CLOEXEC.
/// Links are followed only as far as they stay inside `folder`. Returns none on failure, with the
/// reason in errno; EXDEV means that the path leads out of the folder. Linux only. Any thread.
FileDescriptor openBeneath(int folder, const std::string& path, int flags);

}  // namespace revwarden
