#pragma once

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/fakes/scratch_folder.h"

namespace revwarden {

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

/// The program's call for the shell; no argument may hold a single quote.
inline std::string callOf(const std::vector<std::string>& arguments) {
  std::string call = "exec " REVWARDEN_PROGRAM;
  for (const std::string& argument : arguments) call += " '" + argument + "'";
  return call;
}

/// The status that the process ends with.
inline int exitStatus(pid_t pid) {
  int status = 0;
  if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

/// Runs the program without a terminal; with `output` as its standard output, if that is given.
inline Outcome runProgram(const std::vector<std::string>& arguments, int output = -1) {
  const ScratchFolder folder;
  const std::string call = callOf(arguments) + " </dev/null 2>" + folder.file("err") +
                           (output < 0 ? " >" + folder.file("out") : "");
  const pid_t pid = fork();
  if (pid == 0) {
    if (output >= 0) dup2(output, STDOUT_FILENO);
    execl("/bin/sh", "sh", "-c", call.c_str(), nullptr);
    _exit(127);
  }
  const int status = exitStatus(pid);
  return {status, folder.read("out"), folder.read("err")};
}

/// Runs the program on a terminal of that many columns on which `typed` is typed; `out` is all that
/// it shows.
inline Outcome runOnTerminal(const std::vector<std::string>& arguments, unsigned short columns,
                             const std::string& typed) {
  const std::string call = callOf(arguments);
  const winsize size{24, columns, 0, 0};
  int terminal = -1;
  const pid_t pid = forkpty(&terminal, nullptr, nullptr, &size);
  if (pid == 0) {
    execl("/bin/sh", "sh", "-c", call.c_str(), nullptr);
    _exit(127);
  }
  Outcome outcome;
  if (write(terminal, typed.data(), typed.size()) < 0) return outcome;
  char chunk[4096];
  for (ssize_t count; (count = read(terminal, chunk, sizeof chunk)) > 0;) {
    outcome.out.append(chunk, static_cast<size_t>(count));
  }
  outcome.status = exitStatus(pid);
  close(terminal);
  return outcome;
}

}  // namespace revwarden
