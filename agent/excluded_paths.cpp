#include "agent/excluded_paths.h"

#include "base/text.h"

namespace revwarden {
namespace {

bool isInFolderOfTheSystem(const std::string& volumePath) {
  const std::string upper = asciiUpperCase(volumePath);
  return upper.starts_with("/SYSTEM/") || upper.starts_with("/LIBRARY/") ||
         upper.starts_with("/DEVELOPER/");
}

}  // namespace

bool ExcludedPaths::isExcludedApplicationPath(PathInspector& inspector, const std::string& path) {
  if (!inspector.isPathOnStorageDevice(path)) return true;
  if (inspector.isFileWithPathInTrash(path)) return true;
  if (inspector.pathIsContentOfPackage(path)) return true;
  // A plain prefix: "/x/tmp" excludes "/x/tmp-apps" too.
  const std::optional<std::string> temporary = resolvedTemporaryDirectory(inspector);
  if (temporary && path.starts_with(*temporary)) return true;
  return isInFolderOfTheSystem(inspector.localVolumePathFromFullPath(path));
}

std::optional<std::string> ExcludedPaths::resolvedTemporaryDirectory(PathInspector& inspector) {
  const std::lock_guard lock(mutex_);
  if (!temporaryDirectory_) {
    temporaryDirectory_ = inspector.resolvedPath(files_.temporaryDirectory());
  }
  return temporaryDirectory_;
}

}  // namespace revwarden
