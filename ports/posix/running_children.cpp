#include "ports/posix/running_children.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "ports/posix/file_descriptor.h"
#include "ports/posix/spawn.h"
#include "ports/posix/text_tail.h"

namespace revwarden {
namespace {

constexpr size_t kCollectedBytes = size_t{16} << 20;

bool isOnlyForNow(int error) {
  return error == EINTR || error == EAGAIN || error == EWOULDBLOCK;
}

/// Reads what a pipe contains and passes it to `use`. Closes the pipe at its end.
void read(FileDescriptor& pipe, const std::function<void(std::string_view)>& use) {
  std::array<char, 65536> buffer;
  const ssize_t count = ::read(pipe.get(), buffer.data(), buffer.size());
  if (count < 0 && isOnlyForNow(errno)) return;
  if (count <= 0) {
    pipe = {};
  } else {
    use({buffer.data(), static_cast<size_t>(count)});
  }
}

/// This process's ends of the pipes to a child. All are served at the same time: a child may fill
/// one pipe before it reads or writes another.
class Conversation {
 public:
  Conversation(FileDescriptor toChild, std::string_view input, FileDescriptor output,
               FileDescriptor errors)
      : toChild_(std::move(toChild)),
        input_(input),
        fromOutput_(std::move(output)),
        fromErrors_(std::move(errors)) {
    if (toChild_) ::fcntl(toChild_.get(), F_SETFL, O_NONBLOCK);
  }

  /// Returns when the input is written or cannot be written any more, and output and errors have
  /// ended.
  void run() {
    if (input_.empty()) toChild_ = {};
    while (toChild_ || fromOutput_ || fromErrors_) {
      std::array<pollfd, 3> ends{{{toChild_.get(), POLLOUT, 0},  // poll ignores -1
                                  {fromOutput_.get(), POLLIN, 0},
                                  {fromErrors_.get(), POLLIN, 0}}};
      if (::poll(ends.data(), ends.size(), -1) < 0 && errno != EINTR) break;
      if (ends[0].revents != 0) write();
      if (ends[1].revents != 0) read(fromOutput_, [this](auto bytes) { keepOutput(bytes); });
      if (ends[2].revents != 0) read(fromErrors_, [this](auto bytes) { errors_.append(bytes); });
    }
  }

  std::string takeOutput() { return std::move(output_); }
  std::string errors() const { return errors_.text(); }

 private:
  void write() {
    const ssize_t count = ::write(toChild_.get(), input_.data(), input_.size());
    if (count < 0 && isOnlyForNow(errno)) return;
    input_.remove_prefix(count < 0 ? input_.size() : static_cast<size_t>(count));
    if (input_.empty()) toChild_ = {};
  }

  // The rest of a longer output is read too: the child could not end otherwise.
  void keepOutput(std::string_view bytes) {
    output_.append(bytes.substr(0, kCollectedBytes - output_.size()));
  }

  FileDescriptor toChild_;
  std::string_view input_;
  FileDescriptor fromOutput_, fromErrors_;
  std::string output_;
  TextTail errors_;
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
  // Only the child may hold its ends, else no pipe would ever end.
  input.reset();
  output.reset();
  errors.reset();
  conversation.run();
  ChildProcesses::Completion completion;
  completion.output = conversation.takeOutput();
  completion.errors = conversation.errors();
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
  // Without a terminal, on which a program could wait for a password forever.
  request.belongs = SpawnRequest::Belongs::inOwnSession;
  const std::lock_guard lock(mutex_);
  if (ended_) return -1;
  const Result<pid_t> pid = spawn(request);
  if (!pid) return -1;
  running_.insert(*pid);
  return *pid;
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
