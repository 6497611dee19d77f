#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace revwarden {

/// Answers questions about where paths lie, for the length of one pass over many of them.
///
/// It may remember folders and volumes that it has looked at, so it is made for one pass and
/// dropped with it. Used by one thread at a time. Paths are full paths. The tests of where a path
/// lies need nothing to exist there: a missing path is judged by the nearest folder above it that
/// exists, and by its own text below that. For an empty or relative path every test answers false.
class PathInspector {
 public:
  virtual ~PathInspector() = default;

  /// The path with every symbolic link resolved, without a trailing slash; absent when nothing
  /// exists there or the result is not UTF-8.
  virtual std::optional<std::string> resolvedPath(std::string_view path) = 0;

  /// Whether something exists at the path. Links are followed: a dangling one does not exist.
  /// Always looks at the disk.
  virtual bool fileExistsAtPath(std::string_view path) = 0;

  /// Whether the path lies on a mounted local file system that stores files, as opposed to one of
  /// the network or of the kernel.
  virtual bool isPathOnStorageDevice(std::string_view path) = 0;

  /// Whether the path lies in a Trash folder, of the user or of a volume.
  virtual bool isFileWithPathInTrash(std::string_view path) = 0;

  /// Whether one of the folders above the path is a package (a bundle that users see as one file).
  virtual bool pathIsContentOfPackage(std::string_view path) = 0;

  /// The path relative to the root of its volume, beginning with "/"; the path itself when the
  /// volume is unknown.
  virtual std::string localVolumePathFromFullPath(std::string_view path) = 0;

  /// Whether the path lies on the volume that the system, or the user's home, is on.
  virtual bool pathIsOnSystemVolume(std::string_view path) = 0;
};

/// The file system as the agent asks about it. Any thread.
class FileManager {
 public:
  virtual ~FileManager() = default;

  /// An inspector for one pass.
  virtual std::unique_ptr<PathInspector> inspectorForPass() = 0;

  /// The folder for temporary files. It may be named through links and need not exist yet.
  virtual std::string temporaryDirectory() const = 0;

  /// Whether this user may move the file or folder at the path away. False when nothing is there.
  virtual bool isMovableFileAtPath(std::string_view path) const = 0;
};

}  // namespace revwarden
