#pragma once

#include <cstddef>
#include <vector>

#include "ports/posix/file_descriptor.h"
#include "ports/posix/file_identity.h"

namespace revwarden {

/// The open directories on the way from a folder down to one below it. Each is opened by its name
/// in the one above and never through a link, so the way stays below its first folder even if
/// others rename folders at the same time. Only the first and the last few levels are kept open;
/// the others are opened again by ".." and checked by their identity. For one thread.
class DirectoryStack {
 public:
  explicit DirectoryStack(FileDescriptor first);

  int first() const { return levels_.front().folder.get(); }

  /// The descriptor of the last folder; -1 after a `leave` that did not find its way back.
  int last() const { return levels_.back().folder.get(); }

  /// Opens the folder `name` in the last one, which makes it the last. Returns false, see `errno`,
  /// when it cannot be opened.
  bool enter(const char* name);

  /// Goes back up and returns the folder that was left. If `last()` is -1 afterwards, `errno` says
  /// why: ESTALE when somebody has moved the folder elsewhere.
  FileDescriptor leave();

 private:
  struct Level {
    FileDescriptor folder;
    FileIdentity identity;  // set only when `folder` was closed
  };

  void closeEarlierLevel();

  std::vector<Level> levels_;
};

}  // namespace revwarden
