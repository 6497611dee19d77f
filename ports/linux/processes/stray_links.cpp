#include "ports/linux/processes/stray_links.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

namespace fs = std::filesystem;

// The kernel follows it as far as it stays inside.
bool leadsOut(int folder, const std::string& link) {
  open_how how{};
  how.flags = O_PATH | O_CLOEXEC;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  long end;
  do end = syscall(SYS_openat2, folder, link.c_str(), &how, sizeof how);
  while (end < 0 && errno == EAGAIN);
  if (end < 0) return errno != ENOENT && errno != ENOTDIR && errno != ELOOP;
  const FileDescriptor reached(static_cast<int>(end));
  return false;
}

bool removeStrayLinks(const std::string& folder) {
  const FileDescriptor root(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!root) return errno == ENOENT;
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    const fs::path& path = entry->path();
    const bool isStray =
        entry->is_symlink(error) && leadsOut(root.get(), path.lexically_relative(folder).string());
    if (error || (isStray && !fs::remove(path, error))) return false;
  }
  return !error;
}

}  // namespace revwarden
