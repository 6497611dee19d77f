#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

// The running applications: this user's processes whose program lies in an application bundle.
//
// An application is identified by the path with which its program was started. Its bundle may be in
// the Trash now, with a new one in its place. The kernel does not record that path, so it is
// inferred:
//
// 1. For a script, the kernel knows only the interpreter. The script is the first argument that is
//    no option, if its first line names the interpreter in the same way as argument zero. A program
//    that edits a file of a bundle, or follows it, does not match.
// 2. For any other program, the kernel knows its present path. If argument zero is a full path to
//    the same place inside a bundle, that is the path. Else, if the program lies in a Trash, the
//    path is the one in the note of the Trash. Else it was not moved.
//
// If bundles are nested, the outermost is the application.
namespace revwarden {

struct RunningApplication {
  pid_t pid = 0;
  std::string bundlePath;  // at its start, links resolved as far as the path exists
  std::string name;        // of the bundle's folder, without ".app"

  bool operator==(const RunningApplication&) const = default;
};

/// Returns one entry for each process, in no particular order. Any thread.
std::vector<RunningApplication> runningApplications();

/// Returns the application that a process of this user runs, nullopt if it runs none or has ended.
/// Any thread.
std::optional<RunningApplication> runningApplication(pid_t pid);

}  // namespace revwarden
