#pragma once

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/result.h"

// Errors of system calls in the words that a user reads. `number` is a value of `errno`.
namespace revwarden {

/// The code of errors because the disk or the user's quota is full or a file would be too large.
inline constexpr char kNoSpace[] = "noSpace";

/// The reason alone: "No space left on device", with the code `kNoSpace` or "".
Error systemError(int number = errno);

/// The error of a system call that failed on `path`: "PATH: No space left on device".
Error systemError(std::string_view path, int number = errno);

/// `cause` with the path that it is about in front: "PATH: CAUSE".
Error atPath(std::string_view path, Error cause);

/// Adds to an error with `kNoSpace` how much was needed, in bytes, and how much the file system of
/// an open folder or file has free. Leaves the error as it is if that is enough, which points to a
/// quota or a limit for single files.
Error withSpace(Error error, int folder, int64_t needed);

}  // namespace revwarden
