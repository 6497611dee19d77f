#include "ports/linux/processes/stray_links.h"

#include <fcntl.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "ports/posix/file_descriptor.h"
#include "ports/posix/open_beneath.h"

namespace revwarden {

namespace fs = std::filesystem;

bool leadsOut(int folder, const std::string& link) {
  if (openBeneath(folder, link, O_PATH)) return false;
  return errno != ENOENT && errno != ENOTDIR && errno != ELOOP;
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
