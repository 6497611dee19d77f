#include "ports/linux/files/trash.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "ports/linux/files/place_in_trash.h"
#include "ports/linux/files/user_folders.h"
#include "ports/posix/directory_entry.h"
#include "ports/posix/entry_copy.h"
#include "ports/posix/folder_copy.h"
#include "ports/posix/hidden_folder.h"
#include "ports/posix/remove_tree.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

// A folder is renamed into another one only while it may be written itself, as its ".." changes.
// This allows it for a moment, for a folder of the user's own.
class WritableForNow {
 public:
  explicit WritableForNow(const DirectoryEntry& place)
      : folder_(openat(place.folder.get(), place.name.c_str(),
                       O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)) {
    struct stat facts;
    if (!folder_ || fstat(folder_.get(), &facts) != 0) return;
    mode_ = facts.st_mode & 07777;
    isChanged_ = !(mode_ & S_IWUSR) && fchmod(folder_.get(), mode_ | S_IWUSR) == 0;
  }
  WritableForNow(const WritableForNow&) = delete;
  WritableForNow& operator=(const WritableForNow&) = delete;
  ~WritableForNow() {
    if (isChanged_) fchmod(folder_.get(), mode_);
  }

 private:
  FileDescriptor folder_;
  mode_t mode_ = 0;
  bool isChanged_ = false;
};

// GLib reads the environment once and takes what is no full path too: it is asked only when it
// means the same Trash.
//
// GLib does not say where in the Trash it went, but an open descriptor follows the rename. Returns
// "" if that path cannot be read.
std::optional<std::string> moveByRenaming(const std::string& path, const DirectoryEntry& place) {
  if (g_get_user_data_dir() != dataFolder()) return std::nullopt;
  const FileDescriptor moved(
      openat(place.folder.get(), place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  const WritableForNow writable(place);
  const std::unique_ptr<GFile, decltype(&g_object_unref)> file(
      g_vfs_get_file_for_path(g_vfs_get_local(), path.c_str()), g_object_unref);
  if (!g_file_trash(file.get(), nullptr, nullptr)) return std::nullopt;
  g_autofree char* trashed =
      g_file_read_link(("/proc/self/fd/" + std::to_string(moved.get())).c_str(), nullptr);
  return trashed ? trashed : "";
}

Result<> copyFileOrLink(const DirectoryEntry& from, mode_t mode, const std::string& path) {
  const std::optional<DirectoryEntry> to = DirectoryEntry::at(path);
  if (!to) return systemError(path);
  EntryCopy copy(Owner::asBefore);
  const EntryCopy::Entry source{from.folder.get(), from.name.c_str()};
  const EntryCopy::Entry target{to->folder.get(), to->name.c_str()};
  if (S_ISLNK(mode) ? copy.copyLink(source, target) : copy.copyFile(source, target)) {
    return kSuccess;
  }
  return systemError(path);
}

// Nothing else is left of it once the original goes, should the machine lose its power.
bool isOnDisk(const std::string& path) {
  const std::string folder = path.substr(0, path.rfind('/'));
  const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return opened && syncfs(opened.get()) == 0;
}

// In one step; a folder that is hidden now is removed piece by piece afterwards.
bool freePath(const DirectoryEntry& place, mode_t mode) {
  if (S_ISDIR(mode)) return HiddenFolder::hide(place.folder.get(), place.name.c_str()).has_value();
  return unlinkat(place.folder.get(), place.name.c_str(), 0) == 0;
}

Result<std::string> moveByCopying(const std::string& path, const DirectoryEntry& place,
                                  mode_t mode) {
  if (faccessat(place.folder.get(), ".", W_OK | X_OK, AT_EACCESS) != 0) return systemError(path);
  std::optional<PlaceInTrash> trash = PlaceInTrash::reserve(path, place.name);
  if (!trash) return systemError("The Trash cannot be used");
  const Result<> copied = S_ISDIR(mode) ? copyTree(path, trash->path(), Owner::asBefore)
                                        : copyFileOrLink(place, mode, trash->path());
  if (!copied) return copied.error();
  if (isOnDisk(trash->path()) && freePath(place, mode)) {
    trash->use();
    return trash->path();
  }
  Error error = systemError(path);
  removeTree(trash->path());
  return error;
}

}  // namespace

Result<std::string> moveToTrash(const std::string& path) {
  const std::optional<DirectoryEntry> place = DirectoryEntry::at(path);
  struct stat facts;
  if (!place ||
      fstatat(place->folder.get(), place->name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) {
    return systemError(path);
  }
  if (const auto trashed = moveByRenaming(path, *place)) return *trashed;
  return moveByCopying(path, *place, facts.st_mode);
}

}  // namespace revwarden
