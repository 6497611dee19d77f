#include "ports/linux/files/linux_file_operations.h"

#include <fcntl.h>
#include <glib.h>

#include "ports/linux/files/trash.h"
#include "ports/linux/files/user_folders.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/folder_copy.h"
#include "ports/posix/folder_entries.h"
#include "ports/posix/remove_tree.h"

namespace revwarden {

std::string LinuxFileOperations::homeDirectory() const {
  return homeFolder();
}

// Looked up anew, as users move their folders while the agent runs.
std::vector<std::string> LinuxFileOperations::downloadsDirectories() const {
  g_reload_user_special_dirs_cache();
  const char* const folder = g_get_user_special_dir(G_USER_DIRECTORY_DOWNLOAD);
  if (!folder || *folder != '/') return {};
  return {folder};
}

std::vector<std::string> LinuxFileOperations::contentsOfDirectoryAtPath(
    std::string_view path) const {
  std::vector<std::string> names;
  const FileDescriptor folder(
      open(std::string(path).c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
  if (!folder) return names;
  const bool isWhole = forEachEntry(folder.get(), [&](const char* name, unsigned char) {
    names.emplace_back(name);
    return true;
  });
  if (!isWhole) names.clear();
  return names;
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
