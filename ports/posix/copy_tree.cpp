#include "ports/posix/copy_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <utility>
#include <vector>

#include "ports/posix/directory.h"
#include "ports/posix/file_identity.h"
#include "ports/posix/staging_directory.h"
#include "ports/posix/system_error.h"
#include "ports/posix/tree_walk.h"

namespace revwarden {
namespace {

/// Fills an empty folder with copies of what is in another one.
class TreeCopy final : public TreeWalk {
 public:
  TreeCopy(FileDescriptor source, FileDescriptor target, Owner owner)
      : TreeWalk(std::move(source)), target_(std::move(target)), entries_(owner) {}

 private:
  Result<> enter(const char* name) override {
    if (open(name) && mkdirat(target_.last(), name, S_IRWXU) == 0 && target_.enter(name)) return {};
    return systemError();
  }

  Result<> begin() override {
    struct stat facts, top;
    if (fstat(folder(), &facts) != 0) return systemError();
    if (folders_.empty() && fstat(target_.last(), &top) == 0) top_ = FileIdentity(top);
    if (FileIdentity(facts) == top_) return Error{"", "a folder cannot be copied into itself"};
    folders_.push_back(facts);
    return {};
  }

  Result<> visit(const char* name, unsigned char type) override {
    const EntryCopy::Entry from{folder(), name}, to{target_.last(), name};
    if (type == DT_LNK) return entries_.copyLink(from, to);
    if (type == DT_REG) return entries_.copyFile(from, to);
    return {};
  }

  // Attributes come last: they may forbid writing, and new entries change a folder's times.
  Result<> end(int left, const std::string& name) override {
    const struct stat facts = folders_.back();
    folders_.pop_back();
    if (name.empty()) return entries_.copyAttributes(left, target_.last(), facts);
    const FileDescriptor target = target_.leave();
    if (target_.last() < 0) return systemError();
    return entries_.copyAttributes(left, target.get(), facts);
  }

  DirectoryStack target_;
  EntryCopy entries_;
  FileIdentity top_;                  // of the target
  std::vector<struct stat> folders_;  // on the way, in the source
};

/// Adds up the disk space of what is below a folder.
class TreeSize final : public TreeWalk {
 public:
  explicit TreeSize(FileDescriptor top) : TreeWalk(std::move(top)) {}

  int64_t bytes() const { return bytes_; }

 private:
  Result<> visit(const char* name, unsigned char) override {
    struct stat facts;
    if (fstatat(folder(), name, &facts, AT_SYMLINK_NOFOLLOW) == 0) bytes_ += facts.st_blocks * 512;
    return {};
  }
  Result<> end(int, const std::string&) override { return {}; }
  Result<> failed(Error) override { return {}; }

  int64_t bytes_ = 0;
};

FileDescriptor duplicateOf(int descriptor) {
  return FileDescriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
}

// For lack of space the destination is at fault, else the entry that was being copied.
Error failureAt(const std::string& source, const std::string& place, const std::string& destination,
                const Error& cause) {
  if (cause.code == kNoSpace) return atPath(destination, cause);
  return atPath(place.empty() ? source : source + "/" + place, cause);
}

Result<FileDescriptor> openSource(const std::string& path) {
  const std::optional<DirectoryEntry> entry = DirectoryEntry::at(path);
  FileDescriptor folder;
  if (entry) folder = openDirectoryAt(entry->folder.get(), entry->name.c_str());
  if (folder) return folder;
  const bool isOther = entry && (errno == ENOTDIR || errno == ELOOP);
  Error error = systemError(path);
  if (isOther) error.code = "notFolder";
  return error;
}

Result<> copyAside(const std::string& source, FileDescriptor from, const DirectoryEntry& to,
                   Owner owner) {
  Result<StagingDirectory> staging = StagingDirectory::make(to.folder.get());
  if (!staging) return atPath(to.path, staging.error());
  TreeCopy copy(std::move(from), duplicateOf(staging->descriptor()), owner);
  if (const Result<> copied = copy.walk(); !copied) {
    return failureAt(source, copy.place(), to.path, copied.error());
  }
  const Result<> renamed = staging->appearAs(to.name.c_str());
  if (!renamed) return atPath(to.path, renamed.error());
  return {};
}

}  // namespace

Result<> copyTree(const std::string& source, const std::string& destination) {
  return copyTree(source, destination, Owner::copier);
}

Result<> copyTree(const std::string& source, const std::string& destination, Owner owner) {
  const std::optional<DirectoryEntry> to = DirectoryEntry::at(destination);
  if (!to) return systemError(destination);
  return copyTree(source, *to, owner);
}

Result<> copyTree(const std::string& source, const DirectoryEntry& to, Owner owner) {
  Result<FileDescriptor> from = openSource(source);
  if (!from) return from.error();
  if (faccessat(to.folder.get(), to.name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0) {
    return systemError(to.path, EEXIST);
  }
  FileDescriptor again = duplicateOf(from->get());
  Result<> copied = copyAside(source, std::move(*from), to, owner);
  if (copied || copied.error().code != kNoSpace) return copied;
  TreeSize size(std::move(again));
  static_cast<void>(size.walk());
  return withSpace(copied.error(), to.folder.get(), size.bytes());
}

}  // namespace revwarden
