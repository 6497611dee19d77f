#include "updater/new_application.h"

#include <algorithm>
#include <memory>

#include "base/text.h"
#include "platform/bundle.h"

namespace revwarden {

std::optional<std::string> newApplicationAmong(Bundles& bundles,
                                               const std::vector<std::string>& candidates,
                                               const SoughtApplication& sought) {
  std::optional<std::string> fallback;
  for (const std::string& path : candidates) {
    const std::shared_ptr<const Bundle> bundle = bundles.threadSafeBundleWithPath(path);
    // Absent identifiers do not match each other. Intentional: the match need not be an
    // application.
    if (bundle && bundle->bundleIdentifier && bundle->bundleIdentifier == sought.bundleIdentifier) {
      return path;
    }
    const bool hasName = bundle && bundle->bundleName == sought.name;
    if (hasName || (!fallback && lastPathComponent(path) == sought.name + ".app")) fallback = path;
  }
  return fallback;
}

std::optional<std::string> packageAmong(const std::vector<std::string>& candidates) {
  const auto found = std::find_if(candidates.begin(), candidates.end(), hasPackageExtension);
  return found == candidates.end() ? std::nullopt : std::optional(*found);
}

bool hasPackageExtension(std::string_view path) {
  return asciiUpperCase(pathExtension(path)).ends_with("PKG");
}

}  // namespace revwarden
