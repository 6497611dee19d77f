#include "ports/posix/entry_copy.h"

#include <fcntl.h>
#include <linux/limits.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "ports/posix/directory.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

constexpr mode_t kModeBits = 07777;
constexpr std::string_view kAccessList = "system.posix_acl_access";

bool isNotAllowedHere(int error) {
  return error == EPERM || error == ENOTSUP;
}

bool isOwn(const struct stat& facts) {
  return facts.st_uid == geteuid() && facts.st_gid == getegid();
}

// Only root can give things away; a user may still keep the group.
template <typename Change>
void giveAway(const struct stat& facts, const Change& change) {
  if (!isOwn(facts) && change(facts.st_uid, facts.st_gid) != 0) change(-1, facts.st_gid);
}

mode_t withoutForeignIdentity(mode_t mode, int target, const struct stat& facts) {
  struct stat own;
  if ((mode & (S_ISUID | S_ISGID)) == 0) return mode;
  if (fstat(target, &own) != 0) return mode & ~(S_ISUID | S_ISGID);
  if (own.st_uid != facts.st_uid) mode &= ~S_ISUID;
  if (own.st_gid != facts.st_gid) mode &= ~S_ISGID;
  return mode;
}

std::array<timespec, 2> timesOf(const struct stat& facts) {
  return {facts.st_atim, facts.st_mtim};
}

}  // namespace

EntryCopy::EntryCopy(Owner owner) : owner_(owner) {}

Result<> EntryCopy::copyFile(Entry from, Entry to) {
  const FileDescriptor source(
      openat(from.folder, from.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat facts;
  if (!source || fstat(source.get(), &facts) != 0) return systemError();
  if (!S_ISREG(facts.st_mode)) return systemError(ESTALE);
  FileDescriptor target(openat(to.folder, to.name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!target) return systemError();
  Result<> copied = contents_.copy(source.get(), target.get(), facts);
  if (copied) copied = copyAttributes(source.get(), target.get(), facts);
  if (copied && !target.close()) copied = systemError();
  if (!copied) unlinkat(to.folder, to.name, 0);
  return copied;
}

Result<> EntryCopy::copyLink(Entry from, Entry to) {
  struct stat facts;
  if (fstatat(from.folder, from.name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return systemError();
  const std::optional<std::string> text = linkText(from.folder, from.name);
  if (!text || symlinkat(text->c_str(), to.folder, to.name) != 0) return systemError();
  if (owner_ == Owner::asBefore) {
    giveAway(facts, [&](uid_t user, gid_t group) {
      return fchownat(to.folder, to.name, user, group, AT_SYMLINK_NOFOLLOW);
    });
  }
  utimensat(to.folder, to.name, timesOf(facts).data(), AT_SYMLINK_NOFOLLOW);
  return {};
}

Result<> EntryCopy::copyAttributes(int source, int target, const struct stat& facts) {
  if (owner_ == Owner::asBefore) {
    giveAway(facts, [&](uid_t user, gid_t group) { return fchown(target, user, group); });
  }
  mode_t mode = withoutForeignIdentity(facts.st_mode & kModeBits, target, facts);
  // With an access list the group bits of the mode are the mask of all its entries. Without the
  // list they would give the group more than it had.
  if (!copyExtendedAttributes(source, target)) mode &= ~S_IRWXG;
  if (fchmod(target, mode) != 0 && !isNotAllowedHere(errno)) return systemError();
  if (futimens(target, timesOf(facts).data()) == 0 || isNotAllowedHere(errno)) return {};
  return systemError();
}

// Returns false if the source has an access list that could not be copied.
bool EntryCopy::copyExtendedAttributes(int source, int target) {
  names_.resize(XATTR_LIST_MAX);
  const ssize_t length = flistxattr(source, names_.data(), names_.size());
  bool isAccessKept = true;
  for (const char* name = names_.data(); name < names_.data() + length; name += strlen(name) + 1) {
    value_.resize(XATTR_SIZE_MAX);
    const ssize_t size = fgetxattr(source, name, value_.data(), value_.size());
    const bool isDone =
        size >= 0 && fsetxattr(target, name, value_.data(), static_cast<size_t>(size), 0) == 0;
    if (!isDone && name == kAccessList) isAccessKept = false;
  }
  return isAccessKept;
}

}  // namespace revwarden
