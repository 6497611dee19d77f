#pragma once

#include <optional>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// Both ends of a pipe that no child process inherits by itself.
struct Pipe {
  FileDescriptor readEnd, writeEnd;
};

/// Absent, with errno set, when there are no descriptors left.
std::optional<Pipe> makePipe();

}  // namespace revwarden
