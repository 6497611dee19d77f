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

/// Folders that mean something to the agent. They may be named through links and need not exist.
struct WellKnownFolders {
  std::string home;
  std::string trash;                 // of the user
  std::vector<std::string> volumes;  // taken for roots of separate local volumes
};

/// Looks at each folder and file once and remembers what it saw, so that a path whose folder is
/// known costs one system call, and every further question about it none.
///
/// A path is walked as realpath(3) would, over entries that are named by their place: the resolved
/// path of their folder and their own name. An entry that is a link leads to another one. Of the
/// paths that lead nowhere only the last one is remembered.
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
    bool isReal = true;  // as opposed to a folder that is taken for a volume
  };

  struct Entry {
    std::string_view path;  // the key of the entry
    Entry* folder = nullptr;
    const Volume* volume = nullptr;
    uint64_t mountId = 0;
    bool isFolder = false;
    bool isLink = false;
    bool isUtf8 = true;
    Entry* target = nullptr;  // of a link that was followed; not a link itself
    int links = 0;            // how many links lead there
  };

  /// How far a walk came: the entry reached, and the text below it, empty when the path exists.
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
  Entry missing_;             // stands for the last path that led nowhere
  std::string missingPath_;   // as it was asked
  std::string missingPlace_;  // as far as it exists resolved
  const Volume* homeVolume_ = nullptr;
  std::vector<std::string> trashes_;  // those of the user
};

}  // namespace revwarden
