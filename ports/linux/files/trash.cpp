#include "ports/linux/files/trash.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "ports/linux/files/trash_entry.h"
#include "ports/linux/files/user_folders.h"
#include "ports/posix/copy_tree.h"
#include "ports/posix/directory.h"
#include "ports/posix/entry_copy.h"
#include "ports/posix/remove_tree.h"
#include "ports/posix/staging_directory.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

// Makes a folder of the user writable while it is renamed into another one: the kernel demands
// that, as its ".." changes.
class WritableForNow {
 public:
  explicit WritableForNow(const DirectoryEntry& entry)
      : folder_(openDirectoryAt(entry.folder.get(), entry.name.c_str())) {
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

// Returns nullopt if GLib cannot do it, and "" if the path in the Trash cannot be read.
//
// GLib reads the environment once and accepts relative paths, so it is used only if it means the
// same Trash as `dataFolder`. It does not say where in the Trash the item went, but an open
// descriptor follows the rename.
std::optional<std::string> moveByRenaming(const DirectoryEntry& entry) {
  if (g_get_user_data_dir() != dataFolder()) return std::nullopt;
  const FileDescriptor moved(
      openat(entry.folder.get(), entry.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  const WritableForNow writable(entry);
  const std::unique_ptr<GFile, decltype(&g_object_unref)> file(
      g_vfs_get_file_for_path(g_vfs_get_local(), entry.path.c_str()), g_object_unref);
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
  const Result<> copied =
      S_ISLNK(mode) ? copy.copyLink(source, target) : copy.copyFile(source, target);
  if (!copied) return atPath(path, copied.error());
  return {};
}

// Forces a copy to the disk. Otherwise a power failure after the original is removed could lose the
// only copy.
Result<> sync(const std::string& path) {
  const FileDescriptor folder = openDirectory(path.substr(0, path.rfind('/')));
  if (folder && syncfs(folder.get()) == 0) return {};
  return systemError(path);
}

// In one step. The staging directory then removes a folder piece by piece.
Result<> freePath(const DirectoryEntry& entry, mode_t mode) {
  if (S_ISDIR(mode)) {
    const auto hidden = StagingDirectory::hide(entry.folder.get(), entry.name.c_str());
    if (!hidden) return atPath(entry.path, hidden.error());
  } else if (unlinkat(entry.folder.get(), entry.name.c_str(), 0) != 0) {
    return systemError(entry.path);
  }
  return {};
}

Result<std::string> moveByCopying(const DirectoryEntry& entry, mode_t mode) {
  if (faccessat(entry.folder.get(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
    return systemError(entry.path);
  }
  Result<TrashEntry> trashed = TrashEntry::reserve(entry.path, entry.name);
  if (!trashed) return trashed.error();
  const std::string& copy = trashed->path();
  Result<> done = S_ISDIR(mode) ? copyTree(entry.path, copy, Owner::asBefore)
                                : copyFileOrLink(entry, mode, copy);
  if (!done) return done.error();
  done = sync(copy);
  if (done) done = freePath(entry, mode);
  if (!done) {
    removeTree(copy);
    return done.error();
  }
  trashed->keep();
  return copy;
}

}  // namespace

Result<std::string> moveToTrash(const std::string& path) {
  const std::optional<DirectoryEntry> entry = DirectoryEntry::at(path);
  struct stat facts;
  if (!entry ||
      fstatat(entry->folder.get(), entry->name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) {
    return systemError(path);
  }
  if (const auto trashed = moveByRenaming(*entry)) return *trashed;
  return moveByCopying(*entry, facts.st_mode);
}

}  // namespace revwarden
