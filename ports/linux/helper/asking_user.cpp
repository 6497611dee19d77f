#include "ports/linux/helper/asking_user.h"

#include <fcntl.h>
#include <grp.h>
#include <limits.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "ports/posix/file_descriptor.h"
#include "ports/posix/spawn.h"

namespace revwarden {
namespace {

bool become(const AskingUser& user) {
  return ::initgroups(user.name.c_str(), user.gid) == 0 &&
         ::setresgid(user.gid, user.gid, user.gid) == 0 &&
         ::setresuid(user.uid, user.uid, user.uid) == 0;
}

[[noreturn]] void answer(int pipe, const std::optional<std::string>& error) {
  if (error) (void)!::write(pipe, error->data(), std::min<size_t>(error->size(), PIPE_BUF));
  ::_exit(error ? 1 : 0);
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

std::optional<std::string> withRightsOf(const AskingUser& user,
                                        const std::function<std::optional<std::string>()>& work) {
  std::optional<Pipe> pipe = makePipe();
  if (!pipe) return std::strerror(errno);
  const pid_t pid = ::fork();
  if (pid < 0) return std::strerror(errno);
  if (pid == 0) {
    answer(pipe->writeEnd.get(),
           become(user) ? work() : "The rights of the user cannot be taken on.");
  }
  pipe->writeEnd = FileDescriptor();
  std::string text;
  readToEnd(pipe->readEnd.get(), text);
  const int status = waitForEnd(pid);
  if (status == 0) return std::nullopt;
  return text.empty() ? "ended with status " + std::to_string(status) : text;
}

}  // namespace revwarden
