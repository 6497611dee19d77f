#include "ports/linux/hdiutil/seal_volume.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "ports/linux/files/escaping_links.h"
#include "ports/posix/directory.h"
#include "ports/posix/system_error.h"
#include "ports/posix/tree_walk.h"

namespace revwarden {
namespace {

constexpr mode_t kExecute = S_IXUSR | S_IXGRP | S_IXOTH;

Result<> succeeded(int answer) {
  if (answer == 0) return {};
  return systemError();
}

/// Makes all folders accessible to this user, removes what no volume may contain, and restores
/// absolute links.
class Cleaning final : public TreeWalk {
 public:
  Cleaning(FileDescriptor top, std::string unpackedAt)
      : TreeWalk(std::move(top)), unpackedAt_(std::move(unpackedAt)) {}

  bool hasModes() const { return hasModes_; }

 private:
  Result<> enter(const char* name) override {
    if (fchmodat(folder(), name, S_IRWXU, 0) == 0 && open(name)) return {};
    return systemError();
  }

  Result<> visit(const char* name, unsigned char type) override {
    struct stat facts;
    if (type == DT_LNK) return restoreTarget(name);
    if (type != DT_REG) return succeeded(unlinkat(folder(), name, 0));
    if (fstatat(folder(), name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return systemError();
    if (facts.st_mode & kExecute) hasModes_ = true;
    return {};
  }

  Result<> restoreTarget(const char* name) {
    const std::optional<std::string> target = linkText(folder(), name);
    if (!target) return systemError();
    if (!target->starts_with(unpackedAt_ + "/")) return {};
    if (unlinkat(folder(), name, 0) != 0) return systemError();
    return succeeded(symlinkat(target->c_str() + unpackedAt_.size(), folder(), name));
  }

  const std::string unpackedAt_;
  bool hasModes_ = false;
};

/// Removes links that lead out and makes the rest read-only. A folder comes after what is in it,
/// which can still be removed until then.
class Sealing final : public TreeWalk {
 public:
  Sealing(FileDescriptor top, bool hasModes) : TreeWalk(std::move(top)), hasModes_(hasModes) {}

 private:
  Result<> visit(const char* name, unsigned char type) override {
    if (type == DT_LNK) {
      if (!leadsOut(top(), place()) || isWayToApplications(name)) return {};
      return succeeded(unlinkat(folder(), name, 0));
    }
    struct stat facts;
    if (fstatat(folder(), name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return systemError();
    const bool mayExecute = !hasModes_ || (facts.st_mode & kExecute);
    return succeeded(fchmodat(folder(), name, mayExecute ? 0555 : 0444, 0));
  }

  Result<> end(int left, const std::string&) override { return succeeded(fchmod(left, 0555)); }

  bool isWayToApplications(const char* name) {
    return folder() == top() && linkText(folder(), name) == "/Applications";
  }

  const bool hasModes_;
};

Result<> walked(const std::string& volume, TreeWalk& walk) {
  const Result<> result = walk.walk();
  if (!result) return atPath(volume + "/" + walk.place(), result.error());
  return {};
}

}  // namespace

Result<> sealVolume(const std::string& volume, const std::string& unpackedAt) {
  if (chmod(volume.c_str(), S_IRWXU) != 0) return systemError(volume);
  FileDescriptor first = openDirectory(volume), second = openDirectory(volume);
  if (!first || !second) return systemError(volume);
  Cleaning cleaning(std::move(first), unpackedAt);
  if (Result<> cleaned = walked(volume, cleaning); !cleaned) return cleaned;
  Sealing sealing(std::move(second), cleaning.hasModes());
  return walked(volume, sealing);
}

}  // namespace revwarden
