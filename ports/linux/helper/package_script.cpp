#include "ports/linux/helper/package_script.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <optional>

#include "ports/linux/processes/process_control.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/spawn.h"
#include "ports/posix/system_error.h"
#include "ports/posix/text_tail.h"

namespace revwarden {
namespace {

std::string variable(const char* name, const char* otherwise) {
  const char* const value = std::getenv(name);
  return std::string(name) + '=' + (value ? value : otherwise);
}

/// Reads what is in the pipe, without waiting. Returns false at its end.
bool readAvailable(int pipe, TextTail& text) {
  std::array<char, 1 << 16> buffer;  // the capacity of a pipe
  const ssize_t count = ::read(pipe, buffer.data(), buffer.size());
  if (count > 0) text.append({buffer.data(), static_cast<size_t>(count)});
  return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

/// Returns when the script has ended, even if processes that it started keep the pipe open.
void readUntilEnd(TextTail& text, int pipe, pid_t script, int agent) {
  const FileDescriptor process = openProcess(script);
  pollfd sources[] = {{process.get(), POLLIN, 0}, {pipe, POLLIN, 0}, {agent, POLLRDHUP, 0}};
  if (!process) ::kill(-script, SIGKILL);
  while (process && sources[0].revents == 0) {
    if (::poll(sources, 3, -1) < 0) continue;
    if (sources[1].revents != 0 && !readAvailable(pipe, text)) sources[1].fd = -1;
    if (sources[2].revents == 0) continue;
    ::kill(-script, SIGKILL);
    sources[2].fd = -1;
  }
  readAvailable(pipe, text);
}

Error packageFailed(const std::string& message) {
  return {"packageFailed", message};
}

}  // namespace

Result<> runPackageScript(const std::string& script, const std::string& package, int agent) {
  std::optional<Pipe> errors = makePipe();
  if (!errors) return packageFailed(systemError(script).message);
  ::fcntl(errors->readEnd.get(), F_SETFL, O_NONBLOCK);

  SpawnRequest request;
  request.command = {script};
  request.environment = {"SCRIPT=" + script, "PKG_PATH=" + package,
                         variable("PATH", "/usr/sbin:/usr/bin:/sbin:/bin"), variable("HOME", "/"),
                         "LC_ALL=C.UTF-8"};
  request.error = errors->writeEnd.get();
  request.belongs = SpawnRequest::Belongs::inOwnGroup;
  const Result<pid_t> pid = spawn(request);
  if (!pid) return packageFailed(pid.error().message);
  errors->writeEnd = FileDescriptor();

  TextTail tail;
  readUntilEnd(tail, errors->readEnd.get(), *pid, agent);
  const int status = waitForEnd(*pid);
  if (status == 0) return {};
  std::string text = tail.text();
  std::ranges::replace(text, '\n', ' ');
  return packageFailed("the script ended with status " + std::to_string(status) +
                       (text.empty() ? "" : ": " + text));
}

}  // namespace revwarden
