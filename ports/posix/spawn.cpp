#include "ports/posix/spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "ports/posix/system_error.h"

#ifdef __APPLE__
#include <crt_externs.h>
#else
extern char** environ;
#endif

namespace revwarden {
namespace {

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

char** environmentHere() {
#ifdef __APPLE__
  return *::_NSGetEnviron();  // a macOS bundle cannot link to the variable
#else
  return environ;
#endif
}

class FileActions {
 public:
  FileActions() { ::posix_spawn_file_actions_init(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;
  ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }

  void connect(int descriptor, int stream) {
    if (descriptor >= 0) {
      ::posix_spawn_file_actions_adddup2(&actions_, descriptor, stream);
    } else {
      ::posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0);
    }
  }
  void closeOthers() {
#ifndef __APPLE__  // macOS has an attribute for it
    ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
#endif
  }
  const posix_spawn_file_actions_t* get() const {
    return &actions_;
  }

 private:
  posix_spawn_file_actions_t actions_;
};

class Attributes {
 public:
  explicit Attributes(SpawnRequest::Belongs belongs) {
    ::posix_spawnattr_init(&attributes_);
    sigset_t signals;  // its functions may be macros
    sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    if (belongs == SpawnRequest::Belongs::inOwnGroup) flags |= POSIX_SPAWN_SETPGROUP;
    if (belongs == SpawnRequest::Belongs::inOwnSession) flags |= POSIX_SPAWN_SETSID;
#ifdef __APPLE__
    flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#endif
    ::posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
  }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;
  ~Attributes() {
    ::posix_spawnattr_destroy(&attributes_);
  }

  const posix_spawnattr_t* get() const {
    return &attributes_;
  }

 private:
  posix_spawnattr_t attributes_;
};

}  // namespace

Result<pid_t> spawn(const SpawnRequest& request) {
  FileActions actions;
  actions.connect(request.input, STDIN_FILENO);
  actions.connect(request.output, STDOUT_FILENO);
  actions.connect(request.error, STDERR_FILENO);
  actions.closeOthers();
  const Attributes attributes(request.belongs);
  const std::vector<char*> arguments = pointersTo(request.command);
  const std::vector<std::string> ownEnvironment =
      request.environment.value_or(std::vector<std::string>());
  const std::vector<char*> environment = pointersTo(ownEnvironment);
  pid_t pid = -1;
  const int error =
      ::posix_spawnp(&pid, arguments.front(), actions.get(), attributes.get(), arguments.data(),
                     request.environment ? environment.data() : environmentHere());
  if (error != 0) return systemError(request.command.front(), error);
  return pid;
}

int waitForEnd(pid_t pid) {
  int status = 0;
  pid_t answer;
  do answer = ::waitpid(pid, &status, 0);
  while (answer < 0 && errno == EINTR);
  if (answer != pid) return -1;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace revwarden
