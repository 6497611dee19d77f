#import "ports/macos/platform/mac_file_operations.h"

#include <filesystem>

#import "ports/macos/platform/foundation_values.h"
#include "ports/macos/platform/full_path.h"
#import "ports/macos/platform/retained.h"
#import "ports/macos/platform/shared_utils.h"
#include "ports/posix/copy_tree.h"
#include "ports/posix/remove_tree.h"

namespace revwarden {

std::string MacFileOperations::homeDirectory() const {
  const AutoreleasePool pool;
  return textOf(NSHomeDirectory());
}

std::vector<std::string> MacFileOperations::downloadsDirectories() const {
  const AutoreleasePool pool;
  return textsOf(NSSearchPathForDirectoriesInDomains(NSDownloadsDirectory, NSUserDomainMask, YES));
}

// Not with Foundation, which does not promise the order of the file system.
std::vector<std::string> MacFileOperations::contentsOfDirectoryAtPath(std::string_view path) const {
  std::vector<std::string> names;
  std::error_code failed;
  const std::filesystem::directory_iterator end;
  for (std::filesystem::directory_iterator entry(path, failed); !failed && entry != end;
       entry.increment(failed)) {
    names.push_back(entry->path().filename().string());
  }
  if (failed) names.clear();
  return names;
}

bool MacFileOperations::removeItemAtPath(std::string_view path) {
  return removeTree(std::string(path));
}

Result<std::string> MacFileOperations::moveItemAtPathToTrash(std::string_view path) {
  const AutoreleasePool pool;
  if (isFullPath(path) &&
      [[NSFileManager defaultManager] moveItemAtPathToTrash:foundationText(path)]) {
    return std::string();  // the shared library does not return the path
  }
  return Error{"", std::string(path) + ": cannot be moved to the Trash"};
}

Result<> MacFileOperations::copyDirectoryAtPath_toPath(std::string_view source,
                                                       std::string_view destination) {
  return copyTree(std::string(source), std::string(destination));
}

}  // namespace revwarden
