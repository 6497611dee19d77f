#pragma once

#include <string>
#include <string_view>

namespace revwarden {

/// The text with every control character, and every byte outside well-formed UTF-8, as '?'.
std::string printable(std::string_view text);

/// Writes one line to standard error, made printable. Any thread; lines do not mix.
void logLine(std::string_view text);

}  // namespace revwarden
