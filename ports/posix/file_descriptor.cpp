#include "ports/posix/file_descriptor.h"

#include <fcntl.h>

#include <cerrno>

namespace revwarden {

std::optional<Pipe> makePipe() {
  int ends[2];
#ifdef __APPLE__
  if (::pipe(ends) != 0) return std::nullopt;
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
#else
  if (::pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
#endif
  return Pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

bool readToEnd(int file, std::string& text) {
  for (char chunk[16384];;) {
    const ssize_t count = ::read(file, chunk, sizeof chunk);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return count == 0;
    text.append(chunk, static_cast<size_t>(count));
  }
}

bool writeBytes(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    bytes.remove_prefix(static_cast<size_t>(count));
  }
  return true;
}

}  // namespace revwarden
