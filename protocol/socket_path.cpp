#include "protocol/socket_path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace revwarden {
namespace {

bool isFolderOfThisUser(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::geteuid();
}

}  // namespace

std::string defaultSocketPath() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime && runtime[0] == '/') return std::string(runtime) + "/revwarden/agent.sock";
  const std::string user = std::to_string(::geteuid());
  const std::string session = "/run/user/" + user;
  if (isFolderOfThisUser(session)) return session + "/revwarden/agent.sock";
  return "/tmp/revwarden-" + user + "/agent.sock";
}

}  // namespace revwarden
