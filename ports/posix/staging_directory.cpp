#include "ports/posix/staging_directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <utility>

#include "ports/posix/directory.h"
#include "ports/posix/remove_tree.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

constexpr std::string_view kPrefix = ".revwarden-";
constexpr std::string_view kExtension = ".bundle";
constexpr int kAttempts = 100;

std::string newName() {
  uint64_t number = 0;
  if (getentropy(&number, sizeof number) != 0) number = static_cast<uint64_t>(getpid());
  return std::string(kPrefix) + std::to_string(number) + std::string(kExtension);
}

bool isOurName(std::string_view name) {
  return name.starts_with(kPrefix) && name.ends_with(kExtension);
}

// Returns false if another process holds the lock. A file system without locks is no obstacle.
bool lock(int folder) {
  return flock(folder, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

bool isLinkedAndOurs(int folder) {
  struct stat facts;
  return fstat(folder, &facts) == 0 && facts.st_nlink > 0 && facts.st_uid == geteuid();
}

void removeIfAbandoned(int above, const char* name) {
  const FileDescriptor folder = openDirectoryAt(above, name);
  if (folder && isLinkedAndOurs(folder.get()) && flock(folder.get(), LOCK_EX | LOCK_NB) == 0) {
    removeTreeAt(above, name);
  }
}

void removeAbandoned(int above) {
  const FileDescriptor readable = openDirectoryAt(above, ".");
  if (!readable) return;
  forEachEntry(readable.get(), [&](const char* name, unsigned char type) {
    if (type == DT_DIR && isOurName(name)) removeIfAbandoned(above, name);
    return true;
  });
}

Result<> renameToFree(int folder, const char* from, const char* to) {
  if (renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) return {};
  if (errno != EINVAL && errno != ENOSYS) return systemError();
  // The file system cannot check and rename in one step. At worst this replaces an empty folder
  // that somebody makes in between.
  if (faccessat(folder, to, F_OK, AT_SYMLINK_NOFOLLOW) == 0) return systemError(EEXIST);
  if (renameat(folder, from, folder, to) != 0) return systemError();
  return {};
}

}  // namespace

Result<StagingDirectory> StagingDirectory::make(int above) {
  removeAbandoned(above);
  Error error;
  for (int i = 0; i < kAttempts; ++i) {
    StagingDirectory made(above, newName());
    if (mkdirat(above, made.name_.c_str(), S_IRWXU) == 0) {
      if (made.hold()) return made;
      error = systemError(EAGAIN);
    } else {
      error = systemError();
      made.name_.clear();
      if (errno != EEXIST) break;
    }
  }
  return error;
}

// Returns false if another process has just taken it for abandoned or replaced it.
bool StagingDirectory::hold() {
  folder_ = openDirectoryAt(above_, name_.c_str());
  return folder_ && lock(folder_.get()) && isLinkedAndOurs(folder_.get());
}

Result<StagingDirectory> StagingDirectory::hide(int above, const char* name) {
  StagingDirectory hidden(above, newName());
  if (const Result<> renamed = renameToFree(above, name, hidden.name_.c_str()); !renamed) {
    hidden.name_.clear();
    return renamed.error();
  }
  hidden.folder_ = openDirectoryAt(above, hidden.name_.c_str());
  if (hidden.folder_) lock(hidden.folder_.get());
  return hidden;
}

Result<> StagingDirectory::appearAs(const char* name) {
  Result<> renamed = renameToFree(above_, name_.c_str(), name);
  if (renamed) name_.clear();
  return renamed;
}

StagingDirectory::~StagingDirectory() {
  if (!name_.empty()) removeTreeAt(above_, name_.c_str());
}

}  // namespace revwarden
