#include "ports/posix/pipe.h"

#include <fcntl.h>
#include <unistd.h>

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

}  // namespace revwarden
