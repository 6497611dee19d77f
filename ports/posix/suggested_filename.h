#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace revwarden {

/// The name that a server suggests for what it sends: of its Content-Disposition header
/// ("filename*" before "filename"), else the last component of the path of the address.
///
/// Whatever the server says, the name is a single path component, neither "." nor "..", well-formed
/// UTF-8 without control characters, and short enough for any file system with some letters added
/// to it. Absent when nothing is left of the suggestion.
std::optional<std::string> suggestedFilename(std::string_view contentDisposition,
                                             std::string_view url);

}  // namespace revwarden
