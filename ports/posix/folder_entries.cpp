#include "ports/posix/folder_entries.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string_view>

namespace revwarden {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using Entries = std::unique_ptr<DIR, CloseFolder>;

// Opened anew, so that the caller's descriptor keeps its position.
Entries entriesOf(int folder) {
  const int descriptor = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  Entries entries(fdopendir(descriptor));
  if (!entries) close(descriptor);
  return entries;
}

unsigned char kindOf(int folder, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type;
  struct stat facts;
  if (fstatat(folder, entry.d_name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return DT_REG;
  return IFTODT(facts.st_mode);
}

}  // namespace

bool forEachEntry(int folder, const EntryUse& use) {
  const Entries entries = entriesOf(folder);
  if (!entries) return false;
  while (true) {
    errno = 0;
    const dirent* const entry = readdir(entries.get());
    if (!entry) return errno == 0;
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    if (!use(entry->d_name, kindOf(folder, *entry))) return false;
  }
}

}  // namespace revwarden
