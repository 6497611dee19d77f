#include "ports/linux/files/linux_file_manager.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "ports/linux/files/user_folders.h"

namespace revwarden {
namespace {

bool look(const std::string& path, struct statx& facts) {
  return statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &facts) == 0;
}

// The kernel refuses to rename these, also to root.
bool isFixed(const struct statx& facts) {
  return facts.stx_attributes & (STATX_ATTR_MOUNT_ROOT | STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND);
}

bool stickyFolderRefuses(const struct statx& folder, const struct statx& item) {
  const uid_t user = geteuid();
  return (folder.stx_mode & S_ISVTX) && user != 0 && user != item.stx_uid && user != folder.stx_uid;
}

}  // namespace

LinuxFileManager::LinuxFileManager(std::vector<std::string> volumeFolders,
                                   std::string temporaryDirectory)
    : folders_{homeFolder(), dataFolder() + "/Trash", std::move(volumeFolders)},
      temporaryDirectory_(std::move(temporaryDirectory)) {}

std::unique_ptr<PathInspector> LinuxFileManager::inspectorForPass() {
  return std::make_unique<LinuxPathInspector>(folders_, mountTable_);
}

bool LinuxFileManager::isMovableFileAtPath(std::string_view path) const {
  if (!path.starts_with('/') || path.find('\0') != path.npos) return false;
  while (path.ends_with('/')) path.remove_suffix(1);
  const std::string_view name = path.substr(path.rfind('/') + 1);
  if (name.empty() || name == "." || name == "..") return false;
  // "/." at the end: if the folder is a link, its target counts.
  const std::string folder = std::string(path.substr(0, path.size() - name.size())) + ".";
  struct statx folderFacts, itemFacts;
  if (!look(folder, folderFacts) || !look(std::string(path), itemFacts)) return false;
  return !isFixed(itemFacts) && !(folderFacts.stx_attributes & STATX_ATTR_APPEND) &&
         !stickyFolderRefuses(folderFacts, itemFacts) &&
         faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

}  // namespace revwarden
