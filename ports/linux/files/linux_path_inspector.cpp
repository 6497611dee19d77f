#include "ports/linux/files/linux_path_inspector.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "base/text.h"
#include "ports/linux/files/package_names.h"

namespace revwarden {
namespace {

constexpr int kMaximumLinks = 40;  // the kernel's own limit for one path

bool isFullPath(std::string_view path) {
  return path.starts_with('/') && path.find('\0') == path.npos;
}

bool isBelow(std::string_view path, std::string_view folder) {
  return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

// Returns true for a path below ".Trash", ".Trashes" or ".Trash-UID" at the root of a volume.
bool liesInTrashOfVolume(std::string_view pathOnVolume) {
  constexpr std::string_view kTrash = "/.Trash";
  if (!pathOnVolume.starts_with(kTrash)) return false;
  const size_t end = pathOnVolume.find('/', 1);
  if (end == pathOnVolume.npos) return false;
  const std::string_view rest = pathOnVolume.substr(kTrash.size(), end - kTrash.size());
  return rest.empty() || rest == "es" ||
         (rest.size() > 1 && rest[0] == '-' &&
          rest.find_first_not_of("0123456789", 1) == rest.npos);
}

// Appends `rest`, of which nothing exists, to the resolved `path` and resolves "." and "..".
void appendMissing(std::string_view rest, std::string& path) {
  while (!rest.empty()) {
    const std::string_view name = rest.substr(0, rest.find('/'));
    rest.remove_prefix(std::min(name.size() + 1, rest.size()));
    if (name == "..") {
      path.erase(std::max<size_t>(path.rfind('/'), 1));
    } else if (!name.empty() && name != ".") {
      if (!path.ends_with('/')) path += '/';
      path += name;
    }
  }
}

std::vector<std::string> resolvedFolders(const std::vector<std::string>& folders) {
  std::vector<std::string> resolved;
  for (const std::string& folder : folders) {
    char path[PATH_MAX];
    if (isFullPath(folder) && folder.size() < PATH_MAX && realpath(folder.c_str(), path))
      resolved.emplace_back(path);
  }
  return resolved;
}

}  // namespace

LinuxPathInspector::LinuxPathInspector(const WellKnownFolders& folders, MountTable& mountTable)
    : mountTable_(mountTable),
      mounts_(mountTable.current()),
      volumeRoots_(resolvedFolders(folders.volumes)),
      root_(look(nullptr, "", "/")) {
  if (const Entry* home = existingOrMissing(folders.home)) homeVolume_ = home->volume;
  for (const std::string& trash : {folders.trash, folders.home + "/.Trash"}) {
    if (const Entry* entry = existingOrMissing(trash)) trashes_.emplace_back(entry->path);
  }
}

std::optional<std::string> LinuxPathInspector::resolvedPath(std::string_view path) {
  const Entry* entry = existing(path);
  return entry && entry->isUtf8 ? std::optional<std::string>(entry->path) : std::nullopt;
}

bool LinuxPathInspector::fileExistsAtPath(std::string_view path) {
  if (!isFullPath(path)) return false;
  struct statx facts;
  key_ = path;
  return statx(AT_FDCWD, key_.c_str(), 0, STATX_TYPE, &facts) == 0;
}

bool LinuxPathInspector::isPathOnStorageDevice(std::string_view path) {
  const Entry* entry = existingOrMissing(path);
  return entry && entry->volume->mount.isStorageDevice;
}

bool LinuxPathInspector::isFileWithPathInTrash(std::string_view path) {
  const Entry* entry = existingOrMissing(path);
  if (!entry) return false;
  return liesInTrashOfVolume(pathOnVolume(*entry)) ||
         std::any_of(trashes_.begin(), trashes_.end(),
                     [&](std::string_view trash) { return isBelow(entry->path, trash); });
}

bool LinuxPathInspector::pathIsContentOfPackage(std::string_view path) {
  const Entry* entry = existingOrMissing(path);
  return entry && isPathInPackage(entry->path);
}

std::string LinuxPathInspector::localVolumePathFromFullPath(std::string_view path) {
  const Entry* entry = existingOrMissing(path);
  return std::string(entry ? pathOnVolume(*entry) : path);
}

bool LinuxPathInspector::pathIsOnSystemVolume(std::string_view path) {
  const Entry* entry = existingOrMissing(path);
  if (!entry || !entry->volume->isReal) return false;
  const uint64_t device = entry->volume->mount.device;
  return device == root_->volume->mount.device ||
         (homeVolume_ && homeVolume_->isReal && device == homeVolume_->mount.device);
}

const LinuxPathInspector::Entry* LinuxPathInspector::existing(std::string_view path) {
  if (path.size() >= PATH_MAX) return nullptr;
  const Reach end = reach(path);
  return end.rest.empty() ? end.entry : nullptr;
}

// Returns nullptr for a path that is not a full one.
const LinuxPathInspector::Entry* LinuxPathInspector::existingOrMissing(std::string_view path) {
  if (!missingPath_.empty() && path == missingPath_ && !known(path)) return &missing_;
  const Reach end = reach(path);
  if (!end.entry || end.rest.empty()) return end.entry;
  missingPath_ = path;
  missingPlace_ = end.entry->path;
  appendMissing(end.rest, missingPlace_);
  missing_.path = missingPlace_;
  missing_.volume = end.entry->volume;
  return &missing_;
}

LinuxPathInspector::Reach LinuxPathInspector::reach(std::string_view path) {
  int links = 0;
  if (Entry* const entry = known(path)) {
    if (Entry* const target = follow(*entry, links)) return {target, {}};
  }
  if (!root_ || !isFullPath(path)) return {nullptr, {}};
  const size_t nameAt = path.rfind('/') + 1;
  Entry* const folder = known(path.substr(0, nameAt - 1));
  links = 0;
  return folder && folder->isFolder ? walk(folder, path.substr(nameAt), links)
                                    : walk(root_, path, links);
}

LinuxPathInspector::Entry* LinuxPathInspector::known(std::string_view path) {
  // Most questions are about the same path as the one before.
  if (lastKnown_ && lastKnown_->path == path) return lastKnown_;
  const auto found = entries_.find(path);
  if (found == entries_.end()) return nullptr;
  return lastKnown_ = &found->second;
}

// A slash after a name requires a folder. `links` is the number of links followed so far.
LinuxPathInspector::Reach LinuxPathInspector::walk(Entry* from, std::string_view path, int& links) {
  Entry* entry = from;
  size_t at = 0;
  while (at < path.size() && entry->isFolder) {
    if (path[at] == '/') {
      ++at;
      continue;
    }
    const std::string_view name = path.substr(at, path.find('/', at) - at);
    Entry* next = entry;
    if (name == "..") {
      next = entry->folder;
    } else if (name != ".") {
      next = entryInFolder(*entry, name);
      if (next) next = follow(*next, links);
    }
    if (!next) break;
    entry = next;
    at += name.size();
  }
  return {entry, path.substr(at)};
}

LinuxPathInspector::Entry* LinuxPathInspector::entryInFolder(Entry& folder, std::string_view name) {
  key_ = folder.path;
  if (&folder != root_) key_ += '/';
  key_ += name;
  Entry* const entry = known(key_);
  return entry ? entry : look(&folder, name, key_);
}

// The only place that reads the disk for entries. `folder` is nullptr for the root folder.
LinuxPathInspector::Entry* LinuxPathInspector::look(Entry* folder, std::string_view name,
                                                    const std::string& path) {
  struct statx facts;
  if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE | STATX_MNT_ID, &facts) != 0) {
    return nullptr;
  }
  const auto added = entries_.try_emplace(path).first;
  Entry& entry = added->second;
  entry.path = added->first;
  entry.folder = folder ? folder : &entry;
  entry.mountId = facts.stx_mnt_id;
  entry.isFolder = S_ISDIR(facts.stx_mode);
  entry.isLink = S_ISLNK(facts.stx_mode);
  entry.isUtf8 = entry.folder->isUtf8 && isValidUtf8(name);
  entry.volume = volumeOf(entry);
  return &entry;
}

// Returns the entry itself, or the target of a link. The kernel's limit applies to all links on the
// way, so a cached link counts as many links as when it was followed.
LinuxPathInspector::Entry* LinuxPathInspector::follow(Entry& entry, int& links) {
  if (!entry.isLink) return &entry;
  if (entry.target) {
    links += entry.links;
    return links <= kMaximumLinks ? entry.target : nullptr;
  }
  if (links == kMaximumLinks) return nullptr;
  const int linksBefore = links++;
  char text[PATH_MAX];
  const std::string place(entry.path);
  const ssize_t length = readlink(place.c_str(), text, sizeof text);
  if (length <= 0) return nullptr;
  const std::string_view target(text, static_cast<size_t>(length));
  const Reach end = walk(target.starts_with('/') ? root_ : entry.folder, target, links);
  if (!end.rest.empty()) return nullptr;
  entry.target = end.entry;
  entry.links = links - linksBefore;
  return end.entry;
}

const LinuxPathInspector::Volume* LinuxPathInspector::volumeOf(const Entry& entry) {
  if (std::find(volumeRoots_.begin(), volumeRoots_.end(), entry.path) != volumeRoots_.end()) {
    return &volumes_.emplace_back(Volume{entry.path, {0, true}, false});
  }
  const bool isMountPoint = entry.folder == &entry || entry.mountId != entry.folder->mountId;
  if (!isMountPoint) return entry.folder->volume;
  return &volumes_.emplace_back(Volume{entry.path, mountOf(entry)});
}

Mount LinuxPathInspector::mountOf(const Entry& entry) {
  if (!mounts_->contains(entry.mountId)) mounts_ = mountTable_.current();
  const auto found = mounts_->find(entry.mountId);
  if (found != mounts_->end()) return found->second;
  return unlistedMountAtPath(std::string(entry.path)).value_or(Mount());
}

// Returns a path that begins with "/"; on the root volume the path itself.
std::string_view LinuxPathInspector::pathOnVolume(const Entry& entry) {
  const std::string_view root = entry.volume->root;
  if (root == "/") return entry.path;
  return entry.path == root ? std::string_view("/") : entry.path.substr(root.size());
}

}  // namespace revwarden
