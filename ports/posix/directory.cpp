#include "ports/posix/directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/limits.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <utility>

namespace revwarden {
namespace {

constexpr int kReadDirectory = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

unsigned char typeOf(int folder, const dirent64& entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type;
  struct stat facts;
  if (fstatat(folder, entry.d_name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return DT_REG;
  return IFTODT(facts.st_mode);
}

// `resolve` is that of openat2(2). Without one, the older call serves: some container runtimes
// refuse the newer one.
FileDescriptor openResolved(int folder, const std::string& path, int flags, uint64_t resolve) {
  if (resolve == 0) return FileDescriptor(openat(folder, path.c_str(), flags | O_CLOEXEC));
  open_how how{};
  how.flags = static_cast<decltype(how.flags)>(flags | O_CLOEXEC);
  how.resolve = resolve;
  long descriptor;
  // EAGAIN: something was renamed while the kernel resolved "..".
  do descriptor = syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
  while (descriptor < 0 && errno == EAGAIN);
  return FileDescriptor(static_cast<int>(descriptor));
}

std::optional<DirectoryEntry> entryAt(const std::string& path, uint64_t resolve) {
  const size_t end = path.find_last_not_of('/') + 1;
  const size_t start = end == 0 ? 0 : path.rfind('/', end - 1) + 1;
  std::string name = path.substr(start, end - start);
  if (name.empty() || name == "." || name == ".." || path.find('\0') != path.npos) {
    errno = EINVAL;
    return std::nullopt;
  }
  const std::string above = start == 0 ? "." : path.substr(0, start);
  FileDescriptor folder = openResolved(AT_FDCWD, above, O_PATH | O_DIRECTORY, resolve);
  if (!folder) return std::nullopt;
  return DirectoryEntry{std::move(folder), std::move(name), path};
}

}  // namespace

FileDescriptor openDirectory(const std::string& path) {
  return FileDescriptor(open(path.c_str(), kReadDirectory));
}

FileDescriptor openDirectoryAt(int above, const char* name) {
  return FileDescriptor(openat(above, name, kReadDirectory | O_NOFOLLOW));
}

FileDescriptor openBeneath(int folder, const std::string& path, int flags) {
  return openResolved(folder, path, flags, RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS);
}

std::optional<std::string> linkText(int folder, const char* name) {
  char text[PATH_MAX];
  const ssize_t length = readlinkat(folder, name, text, sizeof text);
  if (length < 0) return std::nullopt;
  return std::string(text, static_cast<size_t>(length));
}

std::optional<DirectoryEntry> DirectoryEntry::at(const std::string& path) {
  return entryAt(path, 0);
}

std::optional<DirectoryEntry> DirectoryEntry::atPathWithoutLinks(const std::string& path) {
  return entryAt(path, RESOLVE_NO_SYMLINKS);
}

// Not readdir(3), which needs a descriptor of its own and an allocation for each directory.
bool forEachEntry(int folder, const EntryUse& use) {
  alignas(dirent64) char buffer[32768];
  if (lseek(folder, 0, SEEK_SET) != 0) return false;
  while (true) {
    const ssize_t size = getdents64(folder, buffer, sizeof buffer);
    if (size <= 0) return size == 0 || errno == ENOENT;  // ENOENT: the directory was removed
    for (ssize_t at = 0; at < size;) {
      const auto* const entry = reinterpret_cast<const dirent64*>(buffer + at);
      at += entry->d_reclen;
      const std::string_view name = entry->d_name;
      if (name == "." || name == "..") continue;
      if (!use(entry->d_name, typeOf(folder, *entry))) return false;
    }
  }
}

std::vector<std::string> entryNames(const std::string& path) {
  std::vector<std::string> names;
  const FileDescriptor folder = openDirectory(path);
  const bool isRead = folder && forEachEntry(folder.get(), [&](const char* name, unsigned char) {
                        names.emplace_back(name);
                        return true;
                      });
  if (!isRead) names.clear();
  return names;
}

}  // namespace revwarden
