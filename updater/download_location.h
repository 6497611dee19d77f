#pragma once

#include <optional>
#include <string>
#include <string_view>

// Where a download comes from and where it goes.
namespace revwarden {

struct Platform;

/// Returns the address that a download link of the update service stands for: spaces and line
/// breaks around it are dropped. Absent if the rest is empty or holds a character that no URL may
/// hold, such as a space or one beyond ASCII. Nothing is requested from the address.
std::optional<std::string> urlFromDownloadLink(std::string_view link);

/// Returns the user's folder for downloads.
std::string downloadsFolder(const Platform& platform);

/// Returns the full path to download to. The name is the server's suggestion, else it is made from
/// the application's.
std::string downloadDestination(const Platform& platform, std::string_view updateMethod,
                                const std::optional<std::string>& suggestedName,
                                const std::string& applicationName);

}  // namespace revwarden
