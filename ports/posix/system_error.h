#pragma once

#include <cerrno>
#include <string>
#include <string_view>

#include "base/result.h"

namespace revwarden {

/// The error of a system call that failed on `path`: "PATH: No space left on device". The code is
/// "noSpace" for a full disk, an exhausted quota and a file that may not grow further, else "".
Error systemError(std::string_view path, int errorNumber = errno);

}  // namespace revwarden
