#include "ports/posix/directory_stack.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace revwarden {
namespace {

constexpr size_t kOpenLevels = 16;  // more than nearly all applications have
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

}  // namespace

DirectoryStack::DirectoryStack(FileDescriptor first) {
  levels_.push_back({std::move(first)});
}

bool DirectoryStack::enter(const char* name) {
  FileDescriptor next(openat(last(), name, kOpenFolder));
  if (!next) return false;
  levels_.push_back({std::move(next)});
  if (levels_.size() > kOpenLevels) closeEarlierLevel();
  return true;
}

void DirectoryStack::closeEarlierLevel() {
  Level& level = levels_[levels_.size() - 1 - kOpenLevels];
  struct stat facts;
  if (!level.folder || fstat(level.folder.get(), &facts) != 0) return;
  level = {FileDescriptor(), facts.st_dev, facts.st_ino};
}

FileDescriptor DirectoryStack::leave() {
  FileDescriptor left = std::move(levels_.back().folder);
  levels_.pop_back();
  Level& level = levels_.back();
  if (level.folder) return left;
  FileDescriptor above(openat(left.get(), "..", kOpenFolder));
  struct stat facts;
  if (!above || fstat(above.get(), &facts) != 0) return left;
  if (facts.st_dev == level.device && facts.st_ino == level.inode) {
    level.folder = std::move(above);
  } else {
    errno = ESTALE;  // moved to somewhere else meanwhile
  }
  return left;
}

}  // namespace revwarden
