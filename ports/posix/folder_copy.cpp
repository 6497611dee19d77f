#include "ports/posix/folder_copy.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "ports/posix/directory_entry.h"
#include "ports/posix/directory_stack.h"
#include "ports/posix/entry_copy.h"
#include "ports/posix/folder_entries.h"
#include "ports/posix/hidden_folder.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

// Fills an empty folder with what is in another one.
class TreeCopy {
 public:
  TreeCopy(FileDescriptor source, FileDescriptor target, Owner owner)
      : source_(std::move(source)), target_(std::move(target)), entries_(owner) {}

  bool run() {
    if (fstat(target_.last(), &top_) != 0 || !open("")) return false;
    while (!folders_.empty()) {
      if (!(folders_.back().below.empty() ? close() : enter())) return false;
    }
    return true;
  }

  /// Where it stopped, below `source`.
  std::string placeOfFailure(std::string source) const {
    for (size_t i = 1; i < folders_.size(); ++i) source += "/" + folders_[i].name;
    return failed_.empty() ? source : source + "/" + failed_;
  }

 private:
  struct Folder {
    std::string name;
    struct stat facts;
    std::vector<std::string> below;  // the folders in it that are still to be copied
  };

  bool enter() {
    std::vector<std::string>& below = folders_.back().below;
    const std::string name = std::move(below.back());
    below.pop_back();
    failed_ = name;
    return source_.enter(name.c_str()) && mkdirat(target_.last(), name.c_str(), S_IRWXU) == 0 &&
           target_.enter(name.c_str()) && open(name);
  }

  // Copies what is not a folder; the folders are left for later.
  bool open(const std::string& name) {
    Folder folder{name, {}, {}};
    if (fstat(source_.last(), &folder.facts) != 0) return false;
    if (folder.facts.st_dev == top_.st_dev && folder.facts.st_ino == top_.st_ino) {
      errno = EINVAL;  // the copy itself: it would never end
      return false;
    }
    folders_.push_back(std::move(folder));
    failed_.clear();
    return forEachEntry(source_.last(), [this](const char* entry, unsigned char kind) {
      return copyEntry(entry, kind);
    });
  }

  bool copyEntry(const char* name, unsigned char kind) {
    const EntryCopy::Entry from{source_.last(), name}, to{target_.last(), name};
    bool isDone = true;
    if (kind == DT_DIR) folders_.back().below.emplace_back(name);
    if (kind == DT_LNK) isDone = entries_.copyLink(from, to);
    if (kind == DT_REG) isDone = entries_.copyFile(from, to);
    if (!isDone) failed_ = name;
    return isDone;
  }

  // Attributes come last: they may forbid writing, and what is made in a folder changes its times.
  bool close() {
    const struct stat facts = folders_.back().facts;
    if (folders_.size() == 1) {
      if (!entries_.copyAttributes(source_.last(), target_.last(), facts)) return false;
    } else {
      const FileDescriptor source = source_.leave(), target = target_.leave();
      if (source_.last() < 0 || target_.last() < 0) return false;
      if (!entries_.copyAttributes(source.get(), target.get(), facts)) return false;
    }
    folders_.pop_back();
    return true;
  }

  DirectoryStack source_, target_;
  EntryCopy entries_;
  struct stat top_ {};
  std::vector<Folder> folders_;
  std::string failed_;
};

FileDescriptor duplicateOf(int descriptor) {
  return FileDescriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
}

}  // namespace

Result<> copyTree(const std::string& source, const std::string& destination) {
  return copyTree(source, destination, Owner::copier);
}

Result<> copyTree(const std::string& source, const std::string& destination, Owner owner) {
  const std::optional<DirectoryEntry> place = DirectoryEntry::at(source);
  if (!place) return systemError(source);
  FileDescriptor from(openat(place->folder.get(), place->name.c_str(),
                             O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!from) {
    const bool isNoFolder = errno == ENOTDIR || errno == ELOOP;
    Error error = systemError(source);
    if (isNoFolder) error.code = "notFolder";
    return error;
  }
  const std::optional<DirectoryEntry> to = DirectoryEntry::at(destination);
  if (!to) return systemError(destination);
  const int above = to->folder.get();
  if (faccessat(above, to->name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0) {
    errno = EEXIST;
    return systemError(destination);
  }
  std::optional<HiddenFolder> hidden = HiddenFolder::make(above);
  if (!hidden) return systemError(destination);
  TreeCopy copy(std::move(from), duplicateOf(hidden->descriptor()), owner);
  if (!copy.run()) return systemError(copy.placeOfFailure(source));
  if (!hidden->appearAs(to->name.c_str())) return systemError(destination);
  return kSuccess;
}

}  // namespace revwarden
