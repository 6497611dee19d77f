#include "ports/posix/contents_copy.h"

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

constexpr size_t kBufferSize = 256 * 1024;

bool hasHoles(const struct stat& facts) {
  return facts.st_blocks < facts.st_size / 512;  // st_blocks counts 512 bytes each
}

bool writeAll(int target, const char* bytes, size_t count, off_t position) {
  while (count > 0) {
    const ssize_t written = pwrite(target, bytes, count, position);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes += written;
    count -= static_cast<size_t>(written);
    position += written;
  }
  return true;
}

}  // namespace

Result<> ContentsCopy::copy(int source, int target, const struct stat& facts) {
  if (copyAll(source, target, facts)) return {};
  return systemError();
}

bool ContentsCopy::copyAll(int source, int target, const struct stat& facts) {
  if (facts.st_size == 0 || share(source, target)) return true;
  if (!hasHoles(facts)) return copyRange(source, target, 0, facts.st_size);
  return copyData(source, target, facts.st_size) && ftruncate(target, facts.st_size) == 0;
}

bool ContentsCopy::share(int source, int target) {
  canShare_ = canShare_ && ioctl(target, FICLONE, source) == 0;
  return canShare_;
}

bool ContentsCopy::copyData(int source, int target, off_t size) {
  off_t end = 0;
  while (end < size) {
    const off_t start = lseek(source, end, SEEK_DATA);
    if (start < 0) return errno == ENXIO || copyRange(source, target, end, size);
    end = lseek(source, start, SEEK_HOLE);
    if (end <= start) end = size;
    if (!copyRange(source, target, start, end)) return false;
  }
  return true;
}

// A file that is cut while it is copied is copied up to its new end.
bool ContentsCopy::copyRange(int source, int target, off_t start, off_t end) {
  while (canCopyInKernel_ && start < end) {
    off_t from = start, to = start;
    const auto wanted = static_cast<size_t>(end - start);
    const ssize_t count = copy_file_range(source, &from, target, &to, wanted, 0);
    if (count == 0) return true;
    if (count > 0) start += count;
    if (count > 0 || errno == EINTR) continue;
    if (errno == ENOSPC || errno == EDQUOT || errno == EIO) return false;
    canCopyInKernel_ = false;
  }
  return copyThroughMemory(source, target, start, end);
}

bool ContentsCopy::copyThroughMemory(int source, int target, off_t start, off_t end) {
  if (start < end) buffer_.resize(kBufferSize);
  while (start < end) {
    const size_t wanted = std::min<size_t>(end - start, kBufferSize);
    const ssize_t count = pread(source, buffer_.data(), wanted, start);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return count == 0;
    if (!writeAll(target, buffer_.data(), static_cast<size_t>(count), start)) return false;
    start += count;
  }
  return true;
}

}  // namespace revwarden
