#include "catalogue/excluded_paths.h"

#include <string_view>

#include "base/text.h"

namespace revwarden {
namespace {

bool isInFolderOfTheSystem(std::string_view volumePath) {
  const std::string upper = asciiUpperCase(volumePath.substr(0, sizeof "/DEVELOPER/"));
  return upper.starts_with("/SYSTEM/") || upper.starts_with("/LIBRARY/") ||
         upper.starts_with("/DEVELOPER/");
}

}  // namespace

bool ExcludedPaths::isExcludedApplicationPath(PathInspector& inspector, const std::string& path) {
  if (!inspector.isPathOnStorageDevice(path)) return true;
  if (inspector.isFileWithPathInTrash(path)) return true;
  if (inspector.pathIsContentOfPackage(path)) return true;
  if (isBelowTemporaryDirectory(inspector, path)) return true;
  return isInFolderOfTheSystem(inspector.localVolumePathFromFullPath(path));
}

bool ExcludedPaths::isBelowTemporaryDirectory(PathInspector& inspector, const std::string& path) {
  const std::lock_guard lock(mutex_);
  if (!temporaryDirectory_) {
    temporaryDirectory_ = inspector.resolvedPath(files_.temporaryDirectory());
  }
  // A plain prefix: "/x/tmp" excludes "/x/tmp-apps" too.
  return temporaryDirectory_ && path.starts_with(*temporaryDirectory_);
}

}  // namespace revwarden
