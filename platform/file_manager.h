#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace revwarden {

/// Answers questions about the location of paths, during one pass over many of them.
///
/// It may cache folders and volumes, so create one for each pass and destroy it afterwards. One
/// thread at a time. All paths are full paths. Except for the two methods that say otherwise,
/// nothing has to exist at the path: the nearest existing folder above it decides, and the text of
/// the path below that folder. The tests return false for an empty or a relative path.
class PathInspector {
 public:
  virtual ~PathInspector() = default;

  /// Returns the path with every symbolic link resolved, without a trailing slash; absent if
  /// nothing exists there or the result is not UTF-8.
  virtual std::optional<std::string> resolvedPath(std::string_view path) = 0;

  /// Returns true if something exists at the path. Follows links, so a dangling link does not
  /// exist. Always reads the disk.
  virtual bool fileExistsAtPath(std::string_view path) = 0;

  /// Returns true if the path is on a mounted local file system that stores files. Network and
  /// kernel file systems do not count.
  virtual bool isPathOnStorageDevice(std::string_view path) = 0;

  /// Returns true if the path is in a Trash folder, either the user's or a volume's.
  virtual bool isFileWithPathInTrash(std::string_view path) = 0;

  /// Returns true if a folder above the path is a package, that is a bundle that users see as one
  /// file.
  virtual bool pathIsContentOfPackage(std::string_view path) = 0;

  /// Returns the path relative to the root of its volume, starting with "/"; the path itself if the
  /// volume is unknown.
  virtual std::string localVolumePathFromFullPath(std::string_view path) = 0;

  /// Returns true if the path is on the volume of the system or of the user's home folder.
  virtual bool pathIsOnSystemVolume(std::string_view path) = 0;
};

/// Answers the agent's questions about the file system. Any thread.
class FileManager {
 public:
  virtual ~FileManager() = default;

  /// Returns a new inspector for one pass; never nullptr.
  virtual std::unique_ptr<PathInspector> inspectorForPass() = 0;

  /// Returns the full path of the folder for temporary files. The path may contain links, and the
  /// folder may not exist yet.
  virtual std::string temporaryDirectory() const = 0;

  /// Returns true if this user may move the file or folder away from the path. False if nothing is
  /// there.
  virtual bool isMovableFileAtPath(std::string_view path) const = 0;
};

}  // namespace revwarden
