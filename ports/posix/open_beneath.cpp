#include "ports/posix/open_beneath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace revwarden {

FileDescriptor openBeneath(int folder, const std::string& path, int flags) {
  open_how how{};
  how.flags = static_cast<decltype(how.flags)>(flags | O_CLOEXEC);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  long descriptor;
  // EAGAIN: something was renamed while the kernel resolved "..".
  do descriptor = syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
  while (descriptor < 0 && errno == EAGAIN);
  return FileDescriptor(static_cast<int>(descriptor));
}

}  // namespace revwarden
