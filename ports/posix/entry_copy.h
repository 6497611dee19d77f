#pragma once

#include <sys/stat.h>

#include <vector>

#include "base/result.h"
#include "ports/posix/contents_copy.h"

namespace revwarden {

/// Who owns a copy.
enum class Owner {
  copier,    // the user who copies and that user's group, as for any new file
  asBefore,  // as in the source, as far as the copying user may give files away
};

/// Copies single files and links between open folders, and the attributes of files and folders:
/// mode, times to the nanosecond, extended attributes with access lists. A set-user-ID or
/// set-group-ID bit is kept only if the copy has the same user or group. Attributes that the
/// target's file system or the user's rights do not allow are left out, but that never widens the
/// access to a file. Errors say why, not where. For one thread.
class EntryCopy {
 public:
  explicit EntryCopy(Owner owner);

  /// A name in an open folder.
  struct Entry {
    int folder;
    const char* name;
  };

  /// Copies a regular file to a new one, of which nothing is left after a failure. Never waits for
  /// a FIFO or device that somebody has put in the place of `from`.
  Result<> copyFile(Entry from, Entry to);

  /// Makes a link with the same text.
  Result<> copyLink(Entry from, Entry to);

  /// Copies the attributes of an open file or folder to one that is otherwise complete. `facts` are
  /// those of `source`.
  Result<> copyAttributes(int source, int target, const struct stat& facts);

 private:
  bool copyExtendedAttributes(int source, int target);

  Owner owner_;
  ContentsCopy contents_;
  std::vector<char> names_, value_;
};

}  // namespace revwarden
