#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/cli/fake_agent.h"

namespace revwarden {

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

/// Starts the program with these descriptors as its standard ones and waits for its end.
inline pid_t startProgram(std::vector<std::string> arguments, int in, int out, int err) {
  arguments.insert(arguments.begin(), REVWARDEN_PROGRAM);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const auto& [from, to] : {std::pair(in, 0), std::pair(out, 1), std::pair(err, 2)}) {
    posix_spawn_file_actions_adddup2(&actions, from, to);
  }
  pid_t pid = -1;
  if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) pid = -1;
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

inline int exitStatus(pid_t pid) {
  int status = 0;
  if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

/// Runs the program without a terminal.
inline Outcome runProgram(const std::vector<std::string>& arguments) {
  const TemporaryFolder folder;
  const auto create = [&](const char* name) {
    return open(folder.file(name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  };
  const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int out = create("out");
  const int err = create("err");
  Outcome outcome;
  outcome.status = exitStatus(startProgram(arguments, in, out, err));
  for (const int fd : {in, out, err}) close(fd);
  const auto text = [&](const char* name) {
    std::ostringstream content;
    content << std::ifstream(folder.file(name)).rdbuf();
    return content.str();
  };
  outcome.out = text("out");
  outcome.err = text("err");
  return outcome;
}

/// Runs the program on a terminal of that many columns on which `typed` is typed; `out` is all that
/// it shows.
inline Outcome runOnTerminal(const std::vector<std::string>& arguments, unsigned short columns,
                             const std::string& typed) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  grantpt(master);
  unlockpt(master);
  winsize size{};
  size.ws_row = 24;
  size.ws_col = columns;
  ioctl(master, TIOCSWINSZ, &size);
  const int slave = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
  Outcome outcome;
  if (write(master, typed.data(), typed.size()) < 0) return outcome;
  const pid_t pid = startProgram(arguments, slave, slave, slave);
  close(slave);
  char chunk[4096];
  for (ssize_t count; (count = read(master, chunk, sizeof chunk)) > 0;) {
    outcome.out.append(chunk, static_cast<size_t>(count));
  }
  outcome.status = exitStatus(pid);
  close(master);
  return outcome;
}

}  // namespace revwarden
