#pragma once

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

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

/// Runs the program without a terminal, with its output kept or written to that file.
inline Outcome runProgram(const std::vector<std::string>& arguments, std::string output = "") {
  const ScratchFolder folder;
  if (output.empty()) output = folder.file("out");
  const std::string call = callOf(arguments) + " </dev/null 2>" + folder.file("err") + " >";
  const int status = std::system((call + output).c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.read("out"), folder.read("err")};
}

/// Runs the program on a terminal of that many columns on which `typed` is typed; `out` is all that
/// it shows.
inline Outcome runOnTerminal(const std::vector<std::string>& arguments, unsigned short columns,
                             const std::string& typed = "") {
  const std::string call = callOf(arguments);
  const winsize size{24, columns, 0, 0};
  int terminal = -1;
  const pid_t pid = forkpty(&terminal, nullptr, nullptr, &size);
  if (pid == 0) {
    setenv("TERM", "xterm", 1);
    execl("/bin/sh", "sh", "-c", call.c_str(), nullptr);
    _exit(127);
  }
  Outcome outcome;
  if (write(terminal, typed.data(), typed.size()) < 0) return outcome;
  char chunk[4096];
  for (ssize_t count; (count = read(terminal, chunk, sizeof chunk)) > 0;) {
    outcome.out.append(chunk, static_cast<size_t>(count));
  }
  int status = 0;
  if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
  close(terminal);
  return outcome;
}

}  // namespace revwarden
