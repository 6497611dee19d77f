#include "ports/posix/remove_tree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <utility>

#include "ports/posix/directory.h"
#include "ports/posix/tree_walk.h"

namespace revwarden {
namespace {

bool isRefusal(int error) {
  return error == EACCES || error == EPERM;
}

// Opens a folder by `open`; one that refuses is first given all rights of its owner.
template <typename Open>
bool openWithRights(int above, const char* name, const Open& open) {
  return open() ||
         (isRefusal(errno) && fchmodat(above, name, S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0 && open());
}

/// Removes what is below a folder, as far as it can be removed.
class Removal final : public TreeWalk {
 public:
  explicit Removal(FileDescriptor top) : TreeWalk(std::move(top)) {}

 private:
  Result<> visit(const char* name, unsigned char) override { return remove(name, 0); }
  Result<> enter(const char* name) override {
    if (openWithRights(folder(), name, [&] { return open(name); })) return {};
    return Error();
  }
  Result<> end(int, const std::string& name) override {
    return name.empty() ? Result<>() : remove(name.c_str(), AT_REMOVEDIR);
  }
  Result<> failed(Error) override { return {}; }

  Result<> remove(const char* name, int flags) {
    const bool isRemoved = unlinkat(folder(), name, flags) == 0;
    if (!isRemoved && isRefusal(errno) && fchmod(folder(), S_IRWXU) == 0) {
      unlinkat(folder(), name, flags);
    }
    return {};
  }
};

bool isGone(int unlinked) {
  return unlinked == 0 || errno == ENOENT;
}

}  // namespace

bool removeTreeAt(int folder, const char* name) {
  if (isGone(unlinkat(folder, name, 0))) return true;
  FileDescriptor top;
  const auto open = [&] { return bool(top = openDirectoryAt(folder, name)); };
  if (!openWithRights(folder, name, open)) return errno == ENOENT;
  static_cast<void>(Removal(std::move(top)).walk());  // the next call tells whether it succeeded
  return isGone(unlinkat(folder, name, AT_REMOVEDIR));
}

bool removeTree(const std::string& path) {
  const std::optional<DirectoryEntry> entry = DirectoryEntry::at(path);
  if (!entry) return errno == ENOENT || errno == ENOTDIR;
  return removeTreeAt(entry->folder.get(), entry->name.c_str());
}

}  // namespace revwarden
