#pragma once

#include <string_view>

namespace revwarden {

/// Writes one line, with escapes for characters that are not safe to print, to standard error. Any
/// thread; lines are never interleaved.
void logLine(std::string_view text);

}  // namespace revwarden
