#pragma once

#include <string>
#include <utility>

#include "base/result.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// A directory under a hidden name, for what is not complete yet or is being removed. Its name
/// makes it a package that is no application, so no search finds applications in it. The destructor
/// removes it with its contents; what a killed process left is removed by the next `make` in the
/// same folder. For one thread.
///
/// `above`, the open folder that it lies in, must outlive it. Errors say why, not where.
class StagingDirectory {
 public:
  /// Makes an empty one that only this user can enter.
  static Result<StagingDirectory> make(int above);

  /// Turns the folder `name` into one, by renaming it in one step.
  static Result<StagingDirectory> hide(int above, const char* name);

  StagingDirectory(StagingDirectory&& other) noexcept
      : above_(other.above_),
        name_(std::exchange(other.name_, {})),
        folder_(std::move(other.folder_)) {}
  StagingDirectory& operator=(StagingDirectory&&) = delete;
  ~StagingDirectory();

  /// Open for reading; -1 for one that was hidden and cannot be read.
  int descriptor() const { return folder_.get(); }

  /// Renames it in one step to `name`, which must be free. It is not removed then.
  Result<> appearAs(const char* name);

 private:
  StagingDirectory(int above, std::string name) : above_(above), name_(std::move(name)) {}

  bool hold();

  int above_;
  std::string name_;       // empty: nothing to remove
  FileDescriptor folder_;  // locked, which tells other processes that it is in use
};

}  // namespace revwarden
