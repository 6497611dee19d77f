#include "ports/posix/running_children.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
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

/// This process's ends of the pipes to a child. Both are served at the same time: a child may fill
/// its output before it reads its input.
class Conversation {
 public:
  Conversation(FileDescriptor toChild, std::string_view input, FileDescriptor fromChild)
      : toChild_(std::move(toChild)), input_(input), fromChild_(std::move(fromChild)) {
    if (toChild_) ::fcntl(toChild_.get(), F_SETFL, O_NONBLOCK);
  }

  /// Returns the output when the input is written or cannot be written any more, and the output has
  /// ended.
  std::string run() {
    if (input_.empty()) toChild_ = {};
    while (toChild_ || fromChild_) {
      std::array<pollfd, 2> ends{
          {{toChild_.get(), POLLOUT, 0}, {fromChild_.get(), POLLIN, 0}}};  // poll ignores -1
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

  // The rest of a longer output is read too: the child could not end otherwise.
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

/// A file without a name that takes the standard error of a child. Unlike a pipe, it needs no
/// reader while the child runs, and no end: a process that the child leaves behind may keep it
/// open.
class ErrorFile {
 public:
  ErrorFile() : file_(std::tmpfile()) {}
  ErrorFile(const ErrorFile&) = delete;
  ErrorFile& operator=(const ErrorFile&) = delete;
  ~ErrorFile() {
    if (file_) std::fclose(file_);
  }

  /// -1 if there is no room for the file.
  int descriptor() const { return file_ ? ::fileno(file_) : -1; }

  /// The end of what the file contains now.
  std::string text() const {
    TextTail tail;
    std::array<char, 4096> bytes;
    const off_t size = ::lseek(descriptor(), 0, SEEK_END);
    const off_t start = std::max<off_t>(0, size - static_cast<off_t>(bytes.size()));
    const ssize_t count = ::pread(descriptor(), bytes.data(), bytes.size(), start);
    if (count > 0) tail.append({bytes.data(), static_cast<size_t>(count)});
    return tail.text();
  }

 private:
  std::FILE* const file_;
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
  std::optional<Pipe> input, output;
  std::optional<ErrorFile> errors;
  if (child.input && !(input = makePipe())) return std::nullopt;
  if (child.collectsOutput && !(output = makePipe())) return std::nullopt;
  if (child.collectsErrors) errors.emplace();
  const Streams streams{input ? input->readEnd.get() : -1, output ? output->writeEnd.get() : -1,
                        errors ? errors->descriptor() : -1};
  const pid_t pid = start(program, child, streams);
  if (pid < 0) return std::nullopt;
  Conversation conversation(input ? std::move(input->writeEnd) : FileDescriptor(),
                            child.input ? std::string_view(*child.input) : std::string_view(),
                            output ? std::move(output->readEnd) : FileDescriptor());
  // Only the child may hold its ends, else neither pipe would ever end.
  input.reset();
  output.reset();
  ChildProcesses::Completion completion;
  completion.output = conversation.run();
  completion.exitStatus = waitForEndOf(pid);
  if (errors) completion.errors = errors->text();
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
