#pragma once

#include <sys/types.h>

#include <cstddef>
#include <vector>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// The way from a folder down to one below it, each level opened by its name in the level above and
/// never through a link: whatever others rename or exchange meanwhile, the way stays below its
/// first folder. However long it is, only the last few levels are kept open; the others are reached
/// again by ".." and known by their identity. For one thread.
class DirectoryStack {
 public:
  explicit DirectoryStack(FileDescriptor first);

  /// The folder at the end. -1 after a `leave` that did not find its way back.
  int last() const { return levels_.back().folder.get(); }

  /// Goes down into a folder. Whether it could be opened, else `errno` says why.
  bool enter(const char* name);

  /// Goes back up from a folder that was entered, and gives that folder. Errno tells why when
  /// `last()` is -1 then.
  FileDescriptor leave();

 private:
  struct Level {
    FileDescriptor folder;
    // Known only of a folder that is closed.
    dev_t device = 0;
    ino_t inode = 0;
  };

  void closeEarlierLevel();

  std::vector<Level> levels_;
};

}  // namespace revwarden
