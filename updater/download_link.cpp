#include "updater/download_link.h"

#include <algorithm>

#include "base/text.h"

namespace revwarden {

std::optional<std::string> urlFromDownloadLink(std::string_view link) {
  const std::string_view url = trimmingSpacesAndLineBreaks(link);
  const bool allowed = std::all_of(url.begin(), url.end(), [](char c) {
    constexpr std::string_view kForbidden = "<>\"{}|\\^`";
    return c > ' ' && c < '\x7F' && kForbidden.find(c) == kForbidden.npos;
  });
  if (url.empty() || !allowed) return std::nullopt;
  return std::string(url);
}

}  // namespace revwarden
