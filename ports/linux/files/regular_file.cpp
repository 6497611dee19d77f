#include "ports/linux/files/regular_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace revwarden {
namespace {

// Reads to the end of the file, which `size` foretells. Whether all of it was read.
bool readAll(int file, size_t size, size_t maxSize, std::string& contents) {
  // One byte more, so that a single short read tells that nothing follows.
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

bool readOpen(int file, size_t maxSize, std::string& contents, FileIdentity& identity) {
  struct stat status {};
  if (fstat(file, &status) != 0) return false;
  identity = FileIdentity(status);
  const auto size = static_cast<size_t>(status.st_size);
  if (!S_ISREG(status.st_mode) || size > maxSize) {
    errno = S_ISREG(status.st_mode) ? EFBIG : S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return false;
  }
  return readAll(file, size, maxSize, contents);
}

}  // namespace

FileReading readRegularFile(const char* path, size_t maxSize, std::string& contents,
                            FileIdentity& identity) {
  const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) {
    return errno == ENOENT || errno == ENOTDIR ? FileReading::missing : FileReading::failed;
  }
  const bool done = readOpen(file, maxSize, contents, identity);
  const int error = errno;
  close(file);
  errno = error;
  return done ? FileReading::done : FileReading::failed;
}

}  // namespace revwarden
