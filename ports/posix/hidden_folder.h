#pragma once

#include <optional>
#include <string>
#include <utility>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// A folder under a hidden name of our own, for what is not there yet or no longer. Its name makes
/// it a package that is no application, so nobody finds applications in it. What is in it when this
/// object ends is removed; what a process left that was killed is removed by the next `make` in the
/// same folder. `above`, the folder that it lies in, stays the caller's. For one thread.
class HiddenFolder {
 public:
  /// A new, empty folder that only this user can enter. Absent on failure, see `errno`.
  static std::optional<HiddenFolder> make(int above);

  /// The folder `name`, which is free then: in one step, whole. Absent on failure, see `errno`.
  static std::optional<HiddenFolder> hide(int above, const char* name);

  HiddenFolder(HiddenFolder&& other) noexcept
      : above_(other.above_),
        name_(std::exchange(other.name_, {})),
        folder_(std::move(other.folder_)) {}
  HiddenFolder& operator=(HiddenFolder&&) = delete;
  ~HiddenFolder();

  /// The folder. -1 for one that was hidden and cannot be read.
  int descriptor() const { return folder_.get(); }

  /// Gives it this name, which must be free, in one step. Whether it has it, else see `errno`.
  bool appearAs(const char* name);

 private:
  HiddenFolder(int above, std::string name) : above_(above), name_(std::move(name)) {}

  bool hold();

  int above_;
  std::string name_;       // empty: it is not hidden any more
  FileDescriptor folder_;  // locked, as a sign that somebody still works on it
};

}  // namespace revwarden
