#include "ports/linux/helper/script_run.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ports/linux/processes/processes.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/spawn.h"

namespace revwarden {
namespace {

constexpr size_t longestText = 4096;

std::string variable(const char* name, const char* otherwise) {
  const char* const value = std::getenv(name);
  return std::string(name) + '=' + (value ? value : otherwise);
}

/// The end of what a process writes to a pipe.
class OutputEnd {
 public:
  explicit OutputEnd(int pipe) : pipe_(pipe) {}

  /// Takes what is there, without waiting; false when nothing will come any more.
  bool read() {
    std::array<char, 1 << 16> buffer;  // all that a pipe holds
    const ssize_t count = ::read(pipe_, buffer.data(), buffer.size());
    if (count > 0) text_.append(buffer.data(), static_cast<size_t>(count));
    if (text_.size() > longestText) text_.erase(0, text_.size() - longestText);
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
  }

  /// Without the line breaks at its end, and from a whole character on.
  std::string text() const {
    size_t begin = 0;
    while (begin < text_.size() && (text_[begin] & 0xC0) == 0x80) ++begin;
    const size_t end = text_.find_last_not_of("\r\n") + 1;
    return begin < end ? text_.substr(begin, end - begin) : std::string();
  }

 private:
  const int pipe_;
  std::string text_;
};

/// A descendant may keep the pipe open after the script's end: that end is what is waited for.
void readUntilEnd(OutputEnd& output, int pipe, pid_t script, int agent) {
  const FileDescriptor process = openProcess(script);
  pollfd sources[] = {{process.get(), POLLIN, 0}, {pipe, POLLIN, 0}, {agent, POLLRDHUP, 0}};
  if (!process) ::kill(-script, SIGKILL);
  while (process && sources[0].revents == 0) {
    if (::poll(sources, 3, -1) < 0) continue;
    if (sources[1].revents != 0 && !output.read()) sources[1].fd = -1;
    if (sources[2].revents == 0) continue;
    ::kill(-script, SIGKILL);
    sources[2].fd = -1;
  }
  output.read();
}

}  // namespace

std::optional<std::string> runScript(const std::string& script, const std::string& package,
                                     int agent) {
  std::optional<Pipe> errors = makePipe();
  if (!errors) return std::strerror(errno);
  ::fcntl(errors->readEnd.get(), F_SETFL, O_NONBLOCK);

  SpawnRequest request;
  request.command = {script};
  request.environment = {"SCRIPT=" + script, "PKG_PATH=" + package,
                         variable("PATH", "/usr/sbin:/usr/bin:/sbin:/bin"), variable("HOME", "/"),
                         "LC_ALL=C.UTF-8"};
  request.error = errors->writeEnd.get();
  request.belongs = SpawnRequest::Belongs::inOwnGroup;
  const Spawned spawned = spawn(request);
  if (!spawned) return script + ": " + std::strerror(spawned.error);
  errors->writeEnd = FileDescriptor();

  OutputEnd output(errors->readEnd.get());
  readUntilEnd(output, errors->readEnd.get(), spawned.pid, agent);
  const int status = waitForEnd(spawned.pid);
  if (status == 0) return std::nullopt;
  const std::string text = output.text();
  return "The script ended with status " + std::to_string(status) +
         (text.empty() ? "." : ": " + text);
}

}  // namespace revwarden
