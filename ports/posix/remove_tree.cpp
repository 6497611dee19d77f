#include "ports/posix/remove_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "ports/posix/directory_entry.h"
#include "ports/posix/directory_stack.h"
#include "ports/posix/folder_entries.h"

namespace revwarden {
namespace {

bool isRefusal(int error) {
  return error == EACCES || error == EPERM;
}

class Removal {
 public:
  Removal(FileDescriptor above, const char* name) : stack_(std::move(above)) {
    folders_.push_back({"", {name}});
  }

  bool run() {
    while (stack_.last() >= 0 && !(isOutside() && folders_.back().below.empty())) step();
    return isOutside() && !isSomethingLeft_;
  }

 private:
  struct Folder {
    std::string name;
    std::vector<std::string> below;  // the folders in it that are still to be removed
  };

  // In the folder that what shall be removed lies in, which is not ours to change.
  bool isOutside() const { return folders_.size() == 1; }

  void step() {
    std::vector<std::string>& below = folders_.back().below;
    if (below.empty()) {
      leave();
    } else {
      std::string name = std::move(below.back());
      below.pop_back();
      enter(std::move(name));
    }
  }

  void enter(std::string name) {
    const bool isOpen = stack_.enter(name.c_str()) ||
                        (isRefusal(errno) &&
                         fchmodat(stack_.last(), name.c_str(), S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0 &&
                         stack_.enter(name.c_str()));
    if (isOpen) {
      folders_.push_back({std::move(name), {}});
      removeFiles();
    } else if (errno != ENOENT) {
      isSomethingLeft_ = true;
    }
  }

  void removeFiles() {
    const EntryUse use = [this](const char* name, unsigned char kind) {
      if (kind == DT_DIR) {
        folders_.back().below.emplace_back(name);
      } else {
        remove(name, 0);
      }
      return true;
    };
    if (!insist([&] { return forEachEntry(stack_.last(), use); })) isSomethingLeft_ = true;
  }

  void leave() {
    stack_.leave();
    const std::string name = std::move(folders_.back().name);
    folders_.pop_back();
    if (stack_.last() >= 0) remove(name.c_str(), AT_REMOVEDIR);
  }

  void remove(const char* name, int flags) {
    const auto unlink = [&] { return unlinkat(stack_.last(), name, flags) == 0; };
    if (!insist(unlink) && errno != ENOENT) isSomethingLeft_ = true;
  }

  // Tries again in a folder that was opened up, when it refused.
  template <typename Action>
  bool insist(const Action& action) {
    if (action()) return true;
    return isRefusal(errno) && !isOutside() && fchmod(stack_.last(), S_IRWXU) == 0 && action();
  }

  DirectoryStack stack_;
  std::vector<Folder> folders_;
  bool isSomethingLeft_ = false;
};

}  // namespace

bool removeTreeAt(int folder, const char* name) {
  if (unlinkat(folder, name, 0) == 0 || errno == ENOENT) return true;
  struct stat facts;
  if (fstatat(folder, name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return errno == ENOENT;
  if (!S_ISDIR(facts.st_mode)) return false;
  return Removal(FileDescriptor(openat(folder, ".", O_PATH | O_CLOEXEC)), name).run();
}

bool removeTree(const std::string& path) {
  const std::optional<DirectoryEntry> place = DirectoryEntry::at(path);
  if (!place) return errno == ENOENT || errno == ENOTDIR;
  return removeTreeAt(place->folder.get(), place->name.c_str());
}

}  // namespace revwarden
