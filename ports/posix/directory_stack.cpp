#include "ports/posix/directory_stack.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "ports/posix/directory.h"

namespace revwarden {
namespace {

constexpr size_t kOpenLevels = 16;  // more than nearly all applications have

}  // namespace

DirectoryStack::DirectoryStack(FileDescriptor first) {
  levels_.push_back({std::move(first), {}});
}

bool DirectoryStack::enter(const char* name) {
  FileDescriptor next = openDirectoryAt(last(), name);
  if (!next) return false;
  levels_.push_back({std::move(next), {}});
  if (levels_.size() > kOpenLevels + 1) closeEarlierLevel();
  return true;
}

void DirectoryStack::closeEarlierLevel() {
  Level& level = levels_[levels_.size() - 1 - kOpenLevels];
  struct stat facts;
  if (!level.folder || fstat(level.folder.get(), &facts) != 0) return;
  level = {FileDescriptor(), FileIdentity(facts)};
}

FileDescriptor DirectoryStack::leave() {
  FileDescriptor left = std::move(levels_.back().folder);
  levels_.pop_back();
  Level& level = levels_.back();
  if (level.folder) return left;
  FileDescriptor above = openDirectoryAt(left.get(), "..");
  struct stat facts;
  if (!above || fstat(above.get(), &facts) != 0) return left;
  if (FileIdentity(facts) == level.identity) {
    level.folder = std::move(above);
  } else {
    errno = ESTALE;
  }
  return left;
}

}  // namespace revwarden
