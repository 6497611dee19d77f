#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

// The running applications are this user's processes whose program lies in an application bundle.
//
// What counts is the path with which the program was started: its bundle may be in the Trash by
// now, and a new one in its place. No process can be asked for that path, so it is concluded:
//
// 1. Of a script the kernel knows the interpreter alone. The script is the first argument that is
//    no option, when its first line names the interpreter as argument zero does: who edits or
//    follows a file of a bundle does not run it.
// 2. Any other program the kernel knows as it is called now. When argument zero is a full path to
//    the same place inside a bundle, that is the path. Else, when the program lies in a Trash, the
//    path is the one that the Trash remembers. Else it has not moved.
//
// Of bundles inside one another the outermost is the application.
namespace revwarden {

struct RunningApplication {
  pid_t pid = 0;
  std::string bundlePath;  // with which it was started, links resolved as far as they exist
  std::string name;        // of the bundle's folder, without ".app"

  bool operator==(const RunningApplication&) const = default;
};

/// One for each process, in no particular order. Any thread.
std::vector<RunningApplication> runningApplications();

/// The application that a process of this user runs; absent when it runs none, or has ended. Any
/// thread.
std::optional<RunningApplication> runningApplication(pid_t pid);

}  // namespace revwarden
