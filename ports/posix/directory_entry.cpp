#include "ports/posix/directory_entry.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

namespace revwarden {

std::optional<DirectoryEntry> DirectoryEntry::at(const std::string& path) {
  const size_t end = path.find_last_not_of('/') + 1;
  const size_t start = end == 0 ? 0 : path.rfind('/', end - 1) + 1;
  std::string name = path.substr(start, end - start);
  if (name.empty() || name == "." || name == ".." || path.find('\0') != path.npos) {
    errno = EINVAL;
    return std::nullopt;
  }
  const std::string above = start == 0 ? "." : path.substr(0, start);
  FileDescriptor folder(open(above.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return std::nullopt;
  return DirectoryEntry{std::move(folder), std::move(name)};
}

}  // namespace revwarden
