#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/result.h"
#include "ports/posix/directory_stack.h"

namespace revwarden {

/// Visits a folder with all that is below it, depth first: in each folder first everything that is
/// not a folder, then the folders. No link is followed, even if others rename folders at the same
/// time; any depth and number of entries needs only a few descriptors. The names kept are those of
/// folders on the way. For one thread; an object walks once.
class TreeWalk {
 public:
  virtual ~TreeWalk() = default;
  TreeWalk(const TreeWalk&) = delete;
  TreeWalk& operator=(const TreeWalk&) = delete;

  /// Walks all of it. Returns the first error of a step below, or of the way back up: why, not
  /// where, which `place()` tells.
  Result<> walk();

  /// The path of the entry that the walk is at, below the top folder; empty at the top.
  std::string place() const;

 protected:
  /// `top` is open for reading.
  explicit TreeWalk(FileDescriptor top) : stack_(std::move(top)) {}

  /// The descriptors of the top folder and of the folder that the walk is in. Valid in the steps.
  int top() const { return stack_.first(); }
  int folder() const { return stack_.last(); }

  /// Opens the folder `name` and makes it the one that the walk is in. Returns false, see `errno`,
  /// when it cannot be opened.
  bool open(const char* name) { return stack_.enter(name); }

 private:
  /// An entry that is no folder. `type` is one of the DT_ values of <dirent.h>.
  virtual Result<> visit(const char* name, unsigned char type) = 0;

  /// Goes into the folder `name` by `open`.
  virtual Result<> enter(const char* name);

  /// The walk is in a folder, the top included, and has not read it yet.
  virtual Result<> begin() { return {}; }

  /// All that is below the open folder `left` was visited; `name` is empty at the top, else the
  /// walk is in the folder above.
  virtual Result<> end(int /*left*/, const std::string& /*name*/) { return {}; }

  /// A folder could not be entered or read. An override that returns success skips it.
  virtual Result<> failed(Error error) { return error; }

  struct Folder {
    std::string name;
    std::vector<std::string> below;  // the folders in it that were not visited yet
  };

  Result<> next();
  Result<> start();
  Result<> leave();

  DirectoryStack stack_;
  std::vector<Folder> way_;
  std::string entry_;  // in the last folder of the way; empty: that folder itself
};

}  // namespace revwarden
