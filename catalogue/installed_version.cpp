#include "catalogue/installed_version.h"

#include <memory>

#include "platform/bundle.h"
#include "platform/platform.h"

namespace revwarden {
namespace {

const Value* pointerTo(const std::optional<Value>& value) {
  return value ? &*value : nullptr;
}

}  // namespace

Versions::VersionRef versionOfBundle(const Platform& platform, const Bundle& bundle) {
  const Versions& versions = platform.versions;
  return versions.betterVersionOfShort_andFull(
      versions.versionWithValue(pointerTo(bundle.shortVersionString)),
      versions.versionWithValue(pointerTo(bundle.bundleVersion)));
}

std::optional<std::string> installedVersion(const Platform& platform, const std::string& path) {
  platform.bundles.flushBundleCachesForPath(path);
  const std::shared_ptr<const Bundle> bundle = platform.bundles.threadSafeBundleWithPath(path);
  const Versions::VersionRef version = bundle ? versionOfBundle(platform, *bundle) : nullptr;
  return version ? std::optional(version->stringRepresentation()) : std::nullopt;
}

}  // namespace revwarden
