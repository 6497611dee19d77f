#include "updater/download_location.h"

#include <algorithm>
#include <vector>

#include "base/text.h"
#include "catalogue/version_info_keys.h"
#include "platform/file_manager.h"
#include "platform/file_operations.h"
#include "platform/platform.h"

namespace revwarden {
namespace {

std::string pathInFolder(std::string folder, std::string_view name) {
  if (!folder.ends_with('/')) folder += '/';
  return folder.append(name);
}

// The name of a bundle may have slashes. They become ":", as in file viewers.
std::string fileNameFor(std::string applicationName) {
  std::ranges::replace(applicationName, '/', ':');
  return applicationName + ".dat";
}

}  // namespace

std::optional<std::string> urlFromDownloadLink(std::string_view link) {
  const std::string_view url = trimmingSpacesAndLineBreaks(link);
  const bool allowed = std::all_of(url.begin(), url.end(), [](char c) {
    constexpr std::string_view kForbidden = "<>\"{}|\\^`";
    return c > ' ' && c < '\x7F' && kForbidden.find(c) == kForbidden.npos;
  });
  if (url.empty() || !allowed) return std::nullopt;
  return std::string(url);
}

std::string downloadsFolder(const Platform& platform) {
  const std::vector<std::string> folders = platform.fileOperations.downloadsDirectories();
  if (!folders.empty()) return folders.front();
  return pathInFolder(platform.fileOperations.homeDirectory(), "Downloads");
}

std::string downloadDestination(const Platform& platform, std::string_view updateMethod,
                                const std::optional<std::string>& suggestedName,
                                const std::string& applicationName) {
  // Intentional: an unknown method installs as "auto", but downloads into the Downloads folder.
  const std::string folder = updateMethod == kKQRWUpdateMethodAuto
                                 ? platform.files.temporaryDirectory()
                                 : downloadsFolder(platform);
  return pathInFolder(folder, suggestedName ? *suggestedName : fileNameFor(applicationName));
}

}  // namespace revwarden
