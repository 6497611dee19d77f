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

bool isOnlyForNow(int error) {
  return error == EINTR || error == EAGAIN || error == EWOULDBLOCK;
}

/// This process's ends of the pipes to a child. Input and output go on side by side: a child may
/// fill the one before it turns to the other.
class Conversation {
 public:
  Conversation(FileDescriptor toChild, std::string_view input, FileDescriptor fromChild)
      : toChild_(std::move(toChild)), input_(input), fromChild_(std::move(fromChild)) {
    if (toChild_) ::fcntl(toChild_.get(), F_SETFL, O_NONBLOCK);
  }

  /// Until the input is written or nobody reads it any more, and the output has ended.
  std::string run() {
    if (input_.empty()) toChild_ = {};
    while (toChild_ || fromChild_) {
      std::array<pollfd, 2> ends{
          {{toChild_.get(), POLLOUT, 0}, {fromChild_.get(), POLLIN, 0}}};  // -1 is passed over
      if (::poll(ends.data(), ends.size(), -1) < 0 && errno != EINTR) break;
      if (ends[0].revents != 0) write();
      if (ends[1].revents != 0) read();
    }
    return std::move(output_);
  }

 private:
  void write() {
    const ssize_t count = ::write(toChild_.get(), input_.data(), input_.size());
    if (count < 0 && isOnlyForNow(errno)) return;
    input_.remove_prefix(count < 0 ? input_.size() : static_cast<size_t>(count));
    if (input_.empty()) toChild_ = {};
  }

  void read() {
    std::array<char, 65536> bytes;
    const ssize_t count = ::read(fromChild_.get(), bytes.data(), bytes.size());
    if (count < 0 && isOnlyForNow(errno)) return;
    if (count <= 0) {
      fromChild_ = {};
      return;
    }
    output_.append(bytes.data(),
                   std::min(static_cast<size_t>(count), kCollectedBytes - output_.size()));
  }

  FileDescriptor toChild_;
  std::string_view input_;
  FileDescriptor fromChild_;
  std::string output_;
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

std::optional<ChildProcesses::Result> RunningChildren::run(const std::string& program,
                                                           const ChildProcess& child) {
  std::optional<Pipe> input, output;
  if (child.input && !(input = makePipe())) return std::nullopt;
  if (child.collectsOutput && !(output = makePipe())) return std::nullopt;
  const pid_t pid = start(program, child, input ? input->readEnd.get() : -1,
                          output ? output->writeEnd.get() : -1);
  if (pid < 0) return std::nullopt;
  Conversation conversation(input ? std::move(input->writeEnd) : FileDescriptor(),
                            child.input ? std::string_view(*child.input) : std::string_view(),
                            output ? std::move(output->readEnd) : FileDescriptor());
  input.reset();  // the child's ends must be the child's alone, else neither pipe would ever end
  output.reset();
  ChildProcesses::Result result;
  result.output = conversation.run();
  result.exitStatus = waitForEndOf(pid);
  return result;
}

pid_t RunningChildren::start(const std::string& program, const ChildProcess& child, int input,
                             int output) {
  SpawnRequest request;
  request.command = {program};
  request.command.insert(request.command.end(), child.arguments.begin(), child.arguments.end());
  request.environment = environmentOf(child);
  request.input = input;
  request.output = output;
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
