#include "ports/linux/files/linux_file_operations.h"

#include <glib.h>

#include "ports/linux/files/trash.h"
#include "ports/linux/files/user_folders.h"
#include "ports/posix/copy_tree.h"
#include "ports/posix/directory.h"
#include "ports/posix/remove_tree.h"

namespace revwarden {

std::string LinuxFileOperations::homeDirectory() const {
  return homeFolder();
}

// Looked up anew each time, as users move their folders while the agent runs.
std::vector<std::string> LinuxFileOperations::downloadsDirectories() const {
  g_reload_user_special_dirs_cache();
  const char* const folder = g_get_user_special_dir(G_USER_DIRECTORY_DOWNLOAD);
  if (!folder || *folder != '/') return {};
  return {folder};
}

std::vector<std::string> LinuxFileOperations::contentsOfDirectoryAtPath(
    std::string_view path) const {
  return entryNames(std::string(path));
}

bool LinuxFileOperations::removeItemAtPath(std::string_view path) {
  return removeTree(std::string(path));
}

Result<std::string> LinuxFileOperations::moveItemAtPathToTrash(std::string_view path) {
  return moveToTrash(std::string(path));
}

Result<> LinuxFileOperations::copyDirectoryAtPath_toPath(std::string_view source,
                                                         std::string_view destination) {
  return copyTree(std::string(source), std::string(destination));
}

}  // namespace revwarden
