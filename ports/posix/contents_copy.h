#pragma once

#include <sys/stat.h>

#include <vector>

#include "base/result.h"

namespace revwarden {

/// Copies the contents of regular files in the fastest way that both file systems support: sharing
/// the blocks, copying inside the kernel, or copying through memory. Holes stay holes. A way that
/// failed once is not tried again, so use one object for all files of a tree. For one thread.
class ContentsCopy {
 public:
  /// Copies from one open file to another, which is new and empty. `facts` are those of `source`.
  /// The error says why, not where.
  Result<> copy(int source, int target, const struct stat& facts);

 private:
  // These return false, see `errno`, when something was not copied.
  bool copyAll(int source, int target, const struct stat& facts);
  bool share(int source, int target);
  bool copyData(int source, int target, off_t size);
  bool copyRange(int source, int target, off_t start, off_t end);
  bool copyThroughMemory(int source, int target, off_t start, off_t end);

  bool canShare_ = true;
  bool canCopyInKernel_ = true;
  std::vector<char> buffer_;
};

}  // namespace revwarden
