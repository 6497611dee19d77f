#include "ports/linux/files/regular_file.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "ports/posix/file_descriptor.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

// Reads to the end of the file, expected after `size` bytes. Returns false, see `errno`, on
// failure.
bool readAll(int file, size_t size, size_t maxSize, std::string& contents) {
  // One byte more, so that a single short read shows the end.
  contents.resize(size + 1);
  size_t length = 0;
  while (true) {
    const size_t wanted = contents.size() - length;
    const ssize_t count = read(file, contents.data() + length, wanted);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    length += static_cast<size_t>(count);
    if (length == size || count == 0) break;
    if (length == contents.size()) contents.resize(std::min(length * 2, maxSize + 1));
    if (length > maxSize) {
      errno = EFBIG;
      return false;
    }
  }
  contents.resize(length);
  return true;
}

int64_t nanoseconds(const timespec& time) {
  return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

FileState::FileState(const struct stat& facts)
    : identity_(facts),
      size_(facts.st_size),
      modified_(nanoseconds(facts.st_mtim)),
      changed_(nanoseconds(facts.st_ctim)) {}

bool FileState::isSettled() const {
  constexpr int64_t kLongestTick = 20'000'000;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return changed_ + kLongestTick < nanoseconds(now);
}

Result<FileState> readRegularFile(const char* path, size_t maxSize, std::string& contents) {
  const FileDescriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file) {
    const bool isMissing = errno == ENOENT || errno == ENOTDIR;
    return isMissing ? Error{kMissing, {}} : systemError(path);
  }
  struct stat facts {};
  if (fstat(file.get(), &facts) != 0) return systemError(path);
  if (!S_ISREG(facts.st_mode)) return systemError(path, S_ISDIR(facts.st_mode) ? EISDIR : EINVAL);
  const auto size = static_cast<size_t>(facts.st_size);
  if (size > maxSize) return systemError(path, EFBIG);
  if (!readAll(file.get(), size, maxSize, contents)) return systemError(path);
  return FileState(facts);
}

}  // namespace revwarden
