#include "ports/linux/helper/asking_user.h"

#include <fcntl.h>
#include <grp.h>
#include <limits.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

#include "ports/posix/file_descriptor.h"
#include "ports/posix/spawn.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

bool become(const AskingUser& user) {
  return ::initgroups(user.name.c_str(), user.gid) == 0 &&
         ::setresgid(user.gid, user.gid, user.gid) == 0 &&
         ::setresuid(user.uid, user.uid, user.uid) == 0;
}

// Writes the value and exits with status 0, or writes the error's code, a line break and its
// message and exits with status 1.
[[noreturn]] void answer(int pipe, const Result<std::string>& result) {
  const std::string text = result ? *result : result.error().code + '\n' + result.error().message;
  (void)!::write(pipe, text.data(), std::min<size_t>(text.size(), PIPE_BUF));
  ::_exit(result ? 0 : 1);
}

}  // namespace

std::optional<AskingUser> askingUser(const std::string& uid) {
  uid_t number = 0;
  const char* const end = uid.data() + uid.size();
  const auto [parsedTo, error] = std::from_chars(uid.data(), end, number);
  if (error != std::errc() || parsedTo != end) return std::nullopt;
  const passwd* const entry = ::getpwuid(number);
  if (!entry) return std::nullopt;
  return AskingUser{number, entry->pw_gid, entry->pw_name};
}

Result<std::string> withRightsOf(const AskingUser& user,
                                 const std::function<Result<std::string>()>& work) {
  std::optional<Pipe> pipe = makePipe();
  if (!pipe) return systemError("pipe");
  const pid_t pid = ::fork();
  if (pid < 0) return systemError("fork");
  if (pid == 0) {
    answer(pipe->writeEnd.get(),
           become(user) ? work()
                        : Result<std::string>(Error{"", "cannot take the rights of " + user.name}));
  }
  pipe->writeEnd = FileDescriptor();
  std::string text;
  readToEnd(pipe->readEnd.get(), text);
  const int status = waitForEnd(pid);
  if (status == 0) return text;
  const size_t lineBreak = text.find('\n');
  if (lineBreak == text.npos)
    return Error{"",
                 "the process of " + user.name + " ended with status " + std::to_string(status)};
  return Error{text.substr(0, lineBreak), text.substr(lineBreak + 1)};
}

}  // namespace revwarden
