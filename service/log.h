#pragma once

#include <string>
#include <string_view>

namespace revwarden {

/// Returns the text with '?' for every control character and every byte that is not well-formed
/// UTF-8.
std::string printable(std::string_view text);

/// Writes one line of printable text to standard error. Any thread; lines are never interleaved.
void logLine(std::string_view text);

}  // namespace revwarden
