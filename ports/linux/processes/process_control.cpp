#include "ports/linux/processes/process_control.h"

#include <poll.h>
extern "C" {  // missing in the header of glibc 2.36
#include <sys/pidfd.h>
}

#include <algorithm>
#include <tuple>
#include <utility>

#include "ports/linux/loop/detached_threads.h"
#include "ports/posix/spawn.h"

namespace revwarden {

Result<pid_t> startInOwnSession(std::vector<std::string> command) {
  SpawnRequest request;
  request.command = std::move(command);
  request.belongs = SpawnRequest::Belongs::inOwnSession;
  return spawn(request);
}

FileDescriptor openProcess(pid_t pid) {
  return FileDescriptor(::pidfd_open(pid, 0));  // close-on-exec is implied
}

bool endsBefore(std::chrono::steady_clock::time_point deadline, const FileDescriptor& process) {
  using std::chrono::milliseconds;
  pollfd ended{.fd = process.get(), .events = POLLIN, .revents = 0};
  while (true) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
    if (::poll(&ended, 1, static_cast<int>(std::max(left, milliseconds(0)).count())) == 1) {
      return true;
    }
    if (left <= milliseconds(0)) return false;
  }
}

void sendSignal(const FileDescriptor& process, int signal) {
  ::pidfd_send_signal(process.get(), signal, nullptr, 0);
}

void reapInBackground(pid_t child) {
  std::ignore = DetachedThreads().detachNewThread([child] { waitForEnd(child); });
}

}  // namespace revwarden
