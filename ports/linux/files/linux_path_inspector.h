#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/file_manager.h"
#include "ports/linux/files/mount_table.h"

namespace revwarden {

/// Folders with a special meaning. They may be named through links and need not exist.
struct WellKnownFolders {
  std::string home;
  std::string trash;                 // of the user
  std::vector<std::string> volumes;  // treated as roots of separate local volumes
};

/// Answers questions about paths. Caches each file and folder, so that a path in a known folder
/// costs one system call, and every further question about it none.
///
/// A path is resolved as by realpath(3), through cached entries. The key of an entry is the
/// resolved path of its folder and its own name; an entry that is a link refers to another one. Of
/// the paths to which nothing exists only the last one is cached.
class LinuxPathInspector : public PathInspector {
 public:
  /// Keeps the reference to the table.
  LinuxPathInspector(const WellKnownFolders& folders, MountTable& mountTable);

  std::optional<std::string> resolvedPath(std::string_view path) override;
  bool fileExistsAtPath(std::string_view path) override;
  bool isPathOnStorageDevice(std::string_view path) override;
  bool isFileWithPathInTrash(std::string_view path) override;
  bool pathIsContentOfPackage(std::string_view path) override;
  std::string localVolumePathFromFullPath(std::string_view path) override;
  bool pathIsOnSystemVolume(std::string_view path) override;

 private:
  struct Volume {
    std::string_view root;
    Mount mount;
    bool isReal = true;  // false for a folder that is treated as a volume
  };

  struct Entry {
    std::string_view path;  // the key of the entry
    Entry* folder = nullptr;
    const Volume* volume = nullptr;
    uint64_t mountId = 0;
    bool isFolder = false;
    bool isLink = false;
    bool isUtf8 = true;
    Entry* target = nullptr;  // of a link, once it was followed; not a link itself
    int links = 0;            // number of links on the way to `target`
  };

  /// How far a path could be resolved: the last existing entry, and the rest of the path, empty if
  /// the whole path exists.
  struct Reach {
    Entry* entry;
    std::string_view rest;
  };

  struct PathHash {
    using is_transparent = void;
    size_t operator()(std::string_view path) const { return std::hash<std::string_view>()(path); }
  };

  const Entry* existing(std::string_view path);
  const Entry* existingOrMissing(std::string_view path);
  Reach reach(std::string_view path);
  Reach walk(Entry* from, std::string_view path, int& links);
  Entry* known(std::string_view path);
  Entry* entryInFolder(Entry& folder, std::string_view name);
  Entry* look(Entry* folder, std::string_view name, const std::string& path);
  Entry* follow(Entry& entry, int& links);
  const Volume* volumeOf(const Entry& entry);
  Mount mountOf(const Entry& entry);
  static std::string_view pathOnVolume(const Entry& entry);

  MountTable& mountTable_;
  std::shared_ptr<const Mounts> mounts_;
  std::unordered_map<std::string, Entry, PathHash, std::equal_to<>> entries_;
  std::deque<Volume> volumes_;
  std::vector<std::string> volumeRoots_;  // resolved
  std::string key_;                       // of the entry that is looked up
  Entry* lastKnown_ = nullptr;            // the last entry that was looked up
  Entry* root_ = nullptr;
  Entry missing_;             // stands for the last path to which nothing exists
  std::string missingPath_;   // that path as it was asked
  std::string missingPlace_;  // that path, resolved as far as it exists
  const Volume* homeVolume_ = nullptr;
  std::vector<std::string> trashes_;  // of the user, resolved
};

}  // namespace revwarden
