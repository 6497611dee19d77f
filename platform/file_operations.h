#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace revwarden {

/// Changes to the file system that an update job makes. Any thread. Paths are full paths.
class FileOperations {
 public:
  virtual ~FileOperations() = default;

  /// The user's home folder.
  virtual std::string homeDirectory() const = 0;

  /// The user's folders for downloads, best first; empty when the system names none.
  virtual std::vector<std::string> downloadsDirectories() const = 0;

  /// The names in a folder, without "." and "..", in the order the file system gives. Empty for a
  /// file, a missing folder and one that cannot be read.
  virtual std::vector<std::string> contentsOfDirectoryAtPath(std::string_view path) const = 0;

  /// Removes the file, or the folder with all it holds; links are removed, not followed. Returns
  /// true if nothing is left at the path.
  virtual bool removeItemAtPath(std::string_view path) = 0;

  /// Moves the file or folder to the user's Trash, under another name if its own is taken there.
  /// Returns its path in the Trash, empty if the port does not know it. On an error it is still
  /// whole at its path.
  virtual Result<std::string> moveItemAtPathToTrash(std::string_view path) = 0;

  /// Copies a folder tree with its links, modes, times and extended attributes to a path where
  /// nothing exists yet. On success the copy is whole; on an error nothing is at `destination`.
  /// Error codes: "noSpace", "notFolder" (`source` is a file or a link), else "".
  virtual Result<> copyDirectoryAtPath_toPath(std::string_view source,
                                              std::string_view destination) = 0;
};

}  // namespace revwarden
