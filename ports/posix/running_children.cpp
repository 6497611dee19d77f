#include "ports/posix/running_children.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <utility>
#include <vector>

#include "ports/posix/file_descriptor.h"
#include "ports/posix/spawn.h"

namespace revwarden {
namespace {

constexpr size_t kCollectedBytes = size_t{16} << 20;
constexpr size_t kCollectedErrors = 4096;

bool isOnlyForNow(int error) {
  return error == EINTR || error == EAGAIN || error == EWOULDBLOCK;
}

/// What was read from a pipe: its beginning or its end, up to a number of bytes.
struct Collected {
  FileDescriptor pipe;  // invalid once it has ended, or if nothing is to be read
  size_t limit;
  bool keepsEnd;
  std::string bytes;

  void read() {
    std::array<char, 65536> buffer;
    const ssize_t count = ::read(pipe.get(), buffer.data(), buffer.size());
    if (count < 0 && isOnlyForNow(errno)) return;
    if (count <= 0) {
      pipe = {};
      return;
    }
    const size_t length = static_cast<size_t>(count);
    bytes.append(buffer.data(), keepsEnd ? length : std::min(length, limit - bytes.size()));
    if (bytes.size() > limit) bytes.erase(0, bytes.size() - limit);
  }
};

/// This process's ends of the pipes to a child. They are served side by side: a child may fill one
/// before it turns to the other.
class Conversation {
 public:
  Conversation(FileDescriptor toChild, std::string_view input, FileDescriptor output,
               FileDescriptor errors)
      : toChild_(std::move(toChild)),
        input_(input),
        output_{std::move(output), kCollectedBytes, false, {}},
        errors_{std::move(errors), kCollectedErrors, true, {}} {
    if (toChild_) ::fcntl(toChild_.get(), F_SETFL, O_NONBLOCK);
  }

  /// Until the input is written or nobody reads it any more, and output and errors have ended.
  void run() {
    if (input_.empty()) toChild_ = {};
    while (toChild_ || output_.pipe || errors_.pipe) {
      std::array<pollfd, 3> ends{{{toChild_.get(), POLLOUT, 0},  // -1 is passed over
                                  {output_.pipe.get(), POLLIN, 0},
                                  {errors_.pipe.get(), POLLIN, 0}}};
      if (::poll(ends.data(), ends.size(), -1) < 0 && errno != EINTR) break;
      if (ends[0].revents != 0) write();
      if (ends[1].revents != 0) output_.read();
      if (ends[2].revents != 0) errors_.read();
    }
  }

  std::string takeOutput() { return std::move(output_.bytes); }
  std::string takeErrors() {
    errors_.bytes.erase(errors_.bytes.find_last_not_of("\r\n") + 1);
    return std::move(errors_.bytes);
  }

 private:
  void write() {
    const ssize_t count = ::write(toChild_.get(), input_.data(), input_.size());
    if (count < 0 && isOnlyForNow(errno)) return;
    input_.remove_prefix(count < 0 ? input_.size() : static_cast<size_t>(count));
    if (input_.empty()) toChild_ = {};
  }

  FileDescriptor toChild_;
  std::string_view input_;
  Collected output_, errors_;
};

std::optional<std::vector<std::string>> environmentOf(const ChildProcess& child) {
  if (!child.environment) return std::nullopt;
  std::vector<std::string> variables;
  for (const auto& [name, value] : *child.environment) {
    variables.push_back(std::string(name).append("=").append(value));
  }
  return variables;
}

}  // namespace

std::optional<ChildProcesses::Completion> RunningChildren::run(const std::string& program,
                                                               const ChildProcess& child) {
  std::optional<Pipe> input, output, errors;
  if (child.input && !(input = makePipe())) return std::nullopt;
  if (child.collectsOutput && !(output = makePipe())) return std::nullopt;
  if (child.collectsErrors && !(errors = makePipe())) return std::nullopt;
  const Streams streams{input ? input->readEnd.get() : -1, output ? output->writeEnd.get() : -1,
                        errors ? errors->writeEnd.get() : -1};
  const pid_t pid = start(program, child, streams);
  if (pid < 0) return std::nullopt;
  Conversation conversation(input ? std::move(input->writeEnd) : FileDescriptor(),
                            child.input ? std::string_view(*child.input) : std::string_view(),
                            output ? std::move(output->readEnd) : FileDescriptor(),
                            errors ? std::move(errors->readEnd) : FileDescriptor());
  // The child's ends must be the child's alone, else no pipe would ever end.
  input.reset();
  output.reset();
  errors.reset();
  conversation.run();
  ChildProcesses::Completion completion;
  completion.output = conversation.takeOutput();
  completion.errors = conversation.takeErrors();
  completion.exitStatus = waitForEndOf(pid);
  return completion;
}

pid_t RunningChildren::start(const std::string& program, const ChildProcess& child,
                             const Streams& streams) {
  SpawnRequest request;
  request.command = {program};
  request.command.insert(request.command.end(), child.arguments.begin(), child.arguments.end());
  request.environment = environmentOf(child);
  request.input = streams.input;
  request.output = streams.output;
  request.error = streams.errors;
  // Also without a terminal, on which one might ask for a password and wait for ever.
  request.belongs = SpawnRequest::Belongs::inOwnSession;
  const std::lock_guard lock(mutex_);
  if (ended_) return -1;
  const Spawned spawned = spawn(request);
  if (spawned) running_.insert(spawned.pid);
  return spawned.pid;
}

int RunningChildren::waitForEndOf(pid_t pid) {
  siginfo_t end;
  while (::waitid(P_PID, static_cast<id_t>(pid), &end, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
  }
  {
    const std::lock_guard lock(mutex_);
    running_.erase(pid);
  }
  return waitForEnd(pid);
}

void RunningChildren::endAll() {
  const std::lock_guard lock(mutex_);
  ended_ = true;
  for (const pid_t pid : running_) ::kill(-pid, SIGKILL);
}

}  // namespace revwarden
