#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace revwarden {

/// The address that a download link of the update service stands for: spaces and line breaks around
/// it are dropped. Absent when the rest is empty or holds a character that no URL may hold, such as
/// a space or one beyond ASCII. Whether anything answers at the address is not asked.
std::optional<std::string> urlFromDownloadLink(std::string_view link);

}  // namespace revwarden
