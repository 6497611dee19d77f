#include "ports/linux/helper/asking_user.h"

#include <grp.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <charconv>

#include "ports/linux/helper/helper_protocol.h"
#include "ports/posix/spawn.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

bool become(const AskingUser& user) {
  return ::initgroups(user.name.c_str(), user.gid) == 0 &&
         ::setresgid(user.gid, user.gid, user.gid) == 0 &&
         ::setresuid(user.uid, user.uid, user.uid) == 0;
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
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return systemError();
  const FileDescriptor ours(ends[0]);
  FileDescriptor childs(ends[1]);
  const pid_t pid = ::fork();
  if (pid < 0) return systemError();
  if (pid == 0) {
    const bool isSent = sendAnswer(
        ends[1], become(user) ? work() : Error{"", "cannot take the rights of " + user.name});
    ::_exit(isSent ? 0 : 1);
  }
  childs = FileDescriptor();
  Result<std::string> answer = receiveAnswer(ours.get());
  waitForEnd(pid);
  return answer;
}

}  // namespace revwarden
