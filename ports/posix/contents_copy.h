#pragma once

#include <sys/stat.h>

#include <vector>

namespace revwarden {

/// Copies what is in regular files, each as fast as the two file systems can: by sharing it, inside
/// the kernel, else through memory. Holes stay holes. What the file systems refused once is not
/// tried again, so one object serves the files of one tree. For one thread.
class ContentsCopy {
 public:
  /// `target` is new and empty, `facts` are those of `source`. Whether all was copied, else `errno`
  /// says why.
  bool copy(int source, int target, const struct stat& facts);

 private:
  bool share(int source, int target);
  bool copyData(int source, int target, off_t size);
  bool copyRange(int source, int target, off_t start, off_t end);
  bool copyThroughMemory(int source, int target, off_t start, off_t end);

  bool canShare_ = true;
  bool canCopyInKernel_ = true;
  std::vector<char> buffer_;
};

}  // namespace revwarden
