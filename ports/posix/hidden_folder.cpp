#include "ports/posix/hidden_folder.h"

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

#include "ports/posix/folder_entries.h"
#include "ports/posix/remove_tree.h"

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

FileDescriptor openFolder(int above, const char* name) {
  return FileDescriptor(openat(above, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// Fails where somebody else holds it; a file system without locks does not stop the work.
bool lock(int folder) {
  return flock(folder, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

bool isLinkedAndOurs(int folder) {
  struct stat facts;
  return fstat(folder, &facts) == 0 && facts.st_nlink > 0 && facts.st_uid == geteuid();
}

void removeIfAbandoned(int above, const char* name) {
  const FileDescriptor folder = openFolder(above, name);
  if (folder && isLinkedAndOurs(folder.get()) && flock(folder.get(), LOCK_EX | LOCK_NB) == 0) {
    removeTreeAt(above, name);
  }
}

void removeAbandoned(int above) {
  forEachEntry(above, [&](const char* name, unsigned char kind) {
    if (kind == DT_DIR && isOurName(name)) removeIfAbandoned(above, name);
    return true;
  });
}

bool renameToFree(int folder, const char* from, const char* to) {
  if (renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  // The file system cannot do it in one step; at worst an empty folder is replaced.
  if (faccessat(folder, to, F_OK, AT_SYMLINK_NOFOLLOW) == 0) {
    errno = EEXIST;
    return false;
  }
  return renameat(folder, from, folder, to) == 0;
}

}  // namespace

std::optional<HiddenFolder> HiddenFolder::make(int above) {
  removeAbandoned(above);
  for (int i = 0; i < kAttempts; ++i) {
    HiddenFolder made(above, newName());
    if (mkdirat(above, made.name_.c_str(), S_IRWXU) != 0) {
      made.name_.clear();
      if (errno == EEXIST) continue;
      return std::nullopt;
    }
    if (made.hold()) return made;
  }
  return std::nullopt;
}

// Not when another process has just taken it for abandoned, or it is not what was made.
bool HiddenFolder::hold() {
  folder_ = openFolder(above_, name_.c_str());
  if (!folder_ || !lock(folder_.get())) return false;
  errno = EAGAIN;
  return isLinkedAndOurs(folder_.get());
}

std::optional<HiddenFolder> HiddenFolder::hide(int above, const char* name) {
  HiddenFolder hidden(above, newName());
  if (!renameToFree(above, name, hidden.name_.c_str())) {
    hidden.name_.clear();
    return std::nullopt;
  }
  hidden.folder_ = openFolder(above, hidden.name_.c_str());
  if (hidden.folder_) lock(hidden.folder_.get());
  return hidden;
}

bool HiddenFolder::appearAs(const char* name) {
  if (!renameToFree(above_, name_.c_str(), name)) return false;
  name_.clear();
  return true;
}

HiddenFolder::~HiddenFolder() {
  if (!name_.empty()) removeTreeAt(above_, name_.c_str());
}

}  // namespace revwarden
