#import "ports/macos/platform/mac_file_manager.h"

#include "base/text.h"
#import "ports/macos/platform/foundation_values.h"
#include "ports/macos/platform/full_path.h"
#import "ports/macos/platform/retained.h"
#import "ports/macos/platform/shared_utils.h"

namespace revwarden {
namespace {

class SharedPathInspector final : public PathInspector {
 public:
  std::optional<std::string> resolvedPath(std::string_view path) override {
    auto resolved = revwarden::resolvedPath(path);
    if (resolved && !isValidUtf8(*resolved)) resolved.reset();
    return resolved;
  }

  bool fileExistsAtPath(std::string_view path) override {
    const AutoreleasePool pool;
    return isFullPath(path) && [files() fileExistsAtPath:foundationText(path)];
  }
  bool isPathOnStorageDevice(std::string_view path) override {
    const AutoreleasePool pool;
    return isFullPath(path) && [files() isPathOnStorageDevice:foundationText(path)];
  }
  bool isFileWithPathInTrash(std::string_view path) override {
    const AutoreleasePool pool;
    return isFullPath(path) && [files() isFileWithPathInTrash:foundationText(path)];
  }
  bool pathIsContentOfPackage(std::string_view path) override {
    const AutoreleasePool pool;
    return isFullPath(path) && [files() pathIsContentOfPackage:foundationText(path)];
  }
  bool pathIsOnSystemVolume(std::string_view path) override {
    const AutoreleasePool pool;
    return isFullPath(path) && [files() pathIsOnSystemVolume:foundationText(path)];
  }

  std::string localVolumePathFromFullPath(std::string_view path) override {
    const AutoreleasePool pool;
    NSString* const local = [files() localVolumePathFromFullPath:foundationText(path)];
    return local ? textOf(local) : std::string(path);
  }

 private:
  static NSFileManager* files() { return [NSFileManager defaultManager]; }
};

}  // namespace

std::unique_ptr<PathInspector> MacFileManager::inspectorForPass() {
  return std::make_unique<SharedPathInspector>();
}

std::string MacFileManager::temporaryDirectory() const {
  const AutoreleasePool pool;
  return textOf(NSTemporaryDirectory());
}

bool MacFileManager::isMovableFileAtPath(std::string_view path) const {
  const AutoreleasePool pool;
  return isFullPath(path) &&
         [[NSFileManager defaultManager] isMovableFileAtPath:foundationText(path)];
}

}  // namespace revwarden
