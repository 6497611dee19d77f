#include "catalogue/excluded_paths.h"

#include <string_view>

#include "base/text.h"

namespace revwarden {
namespace {

// Case-insensitive. The folders themselves and, for example, ~/Library are not excluded.
bool isInSystemFolder(std::string_view volumePath) {
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
  return isInSystemFolder(inspector.localVolumePathFromFullPath(path));
}

bool ExcludedPaths::isBelowTemporaryDirectory(PathInspector& inspector, const std::string& path) {
  const std::lock_guard lock(mutex_);
  if (!temporaryDirectory_) {  // retried until it succeeds
    temporaryDirectory_ = inspector.resolvedPath(files_.temporaryDirectory());
  }
  // Intentional: compares text, not path components, so "/x/tmp" also excludes "/x/tmp-apps".
  return temporaryDirectory_ && path.starts_with(*temporaryDirectory_);
}

}  // namespace revwarden
