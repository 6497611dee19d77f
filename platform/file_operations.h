#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace revwarden {

/// The file operations of update jobs. All paths are full paths. Any thread.
class FileOperations {
 public:
  virtual ~FileOperations() = default;

  /// Returns the user's home folder.
  virtual std::string homeDirectory() const = 0;

  /// Returns the user's folders for downloads, preferred one first; empty if the system defines
  /// none.
  virtual std::vector<std::string> downloadsDirectories() const = 0;

  /// Returns the names in a folder without "." and "..", in the order of the file system. Empty if
  /// the path is a file, is missing or cannot be read.
  virtual std::vector<std::string> contentsOfDirectoryAtPath(std::string_view path) const = 0;

  /// Removes a file, or a folder with its contents. Removes links without following them. Returns
  /// true if nothing is left at the path.
  virtual bool removeItemAtPath(std::string_view path) = 0;

  /// Moves a file or folder to the user's Trash, under another name if its name is already used
  /// there. Returns its path in the Trash, or "" if the port does not know it. On an error the file
  /// or folder is still complete at its path.
  virtual Result<std::string> moveItemAtPathToTrash(std::string_view path) = 0;

  /// Copies a folder tree with its links, modes, times and extended attributes to a path where
  /// nothing exists yet. On success the copy is complete; on an error nothing is at `destination`.
  /// Error codes: "noSpace", "notFolder" (`source` is a file or a link), or "" for others.
  virtual Result<> copyDirectoryAtPath_toPath(std::string_view source,
                                              std::string_view destination) = 0;
};

}  // namespace revwarden
