#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace revwarden {

/// The file name that a server suggests for a download: from the Content-Disposition header
/// ("filename*" before "filename"), else the last component of the path in the address.
///
/// The input is untrusted. The name is a single path component, neither "." nor "..", well-formed
/// UTF-8 without control characters, at most 240 bytes long. Returns nullopt if nothing is left.
std::optional<std::string> suggestedFilename(std::string_view contentDisposition,
                                             std::string_view url);

}  // namespace revwarden
