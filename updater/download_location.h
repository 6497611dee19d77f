#pragma once

#include <optional>
#include <string>
#include <string_view>

// The source and the destination of a download.
namespace revwarden {

struct Platform;

/// Returns the URL in a download link of the update service, without leading and trailing spaces
/// and line breaks. Absent if it is empty or has a character that is not allowed in URLs, such as a
/// space or a character outside ASCII.
std::optional<std::string> urlFromDownloadLink(std::string_view link);

/// Returns the full path of the user's Downloads folder, which may not exist.
std::string downloadsFolder(const Platform& platform);

/// Returns the full path to download to. The file name is the server's suggestion, else the name of
/// the application with the extension "dat".
std::string downloadDestination(const Platform& platform, std::string_view updateMethod,
                                const std::optional<std::string>& suggestedName,
                                const std::string& applicationName);

}  // namespace revwarden
