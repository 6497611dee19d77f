#pragma once

#include <sys/stat.h>

#include <vector>

#include "ports/posix/contents_copy.h"
#include "ports/posix/owner.h"

namespace revwarden {

/// Copies single files and links between open folders, and the attributes that files and folders
/// have: mode, times to the nanosecond, extended attributes with access lists. A bit that runs a
/// program as its owner or group is kept only when the copy has the same one. Attributes that the
/// target's file system or the user's rights do not allow are left out, but rights never become
/// wider by that. Functions answer whether it was done, else `errno` says why. For one thread.
class EntryCopy {
 public:
  explicit EntryCopy(Owner owner);

  /// A name in an open folder.
  struct Entry {
    int folder;
    const char* name;
  };

  /// `to` is a new file, and absent after a failure. `from` is a regular file; never waits for
  /// something else that has taken its place.
  bool copyFile(Entry from, Entry to);

  /// `to` is a new link that reads the same.
  bool copyLink(Entry from, Entry to);

  /// For an open file or folder that is otherwise complete; `facts` are those of `source`.
  bool copyAttributes(int source, int target, const struct stat& facts);

 private:
  bool fillFile(int source, int target, const struct stat& facts);
  bool copyExtendedAttributes(int source, int target);

  Owner owner_;
  ContentsCopy contents_;
  std::vector<char> names_, value_;
};

}  // namespace revwarden
