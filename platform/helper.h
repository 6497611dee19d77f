#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace revwarden {

/// A privileged helper that carries out operations with administrator rights, one at a time. Each
/// answers absent on success, else the error's text. Any thread. After `stop`, or when the helper
/// has ended by itself, every operation answers an error.
class KQHelperTask {
 public:
  virtual ~KQHelperTask() = default;

  /// As `FileOperations::moveItemAtPathToTrash`.
  virtual std::optional<std::string> moveItemAtPathToTrash(std::string_view path) = 0;

  /// As `FileOperations::copyDirectoryAtPath_toPath`.
  virtual std::optional<std::string> performCopyItemAtPath_toPath(std::string_view source,
                                                                  std::string_view destination) = 0;

  /// Runs one of the helper's named actions ("runScript").
  virtual std::optional<std::string> performAction_withArguments(
      std::string_view action, const std::map<std::string, std::string>& arguments) = 0;

  /// Ends the helper; does not wait for it.
  virtual void stop() = 0;
};

/// Obtains administrator rights (`sharedManager` of the shared library).
class KQHelperManager {
 public:
  virtual ~KQHelperManager() = default;

  /// Asks the user, showing `prompt`, and waits for the answer. nullptr when the user refuses or
  /// the rights cannot be had. Main thread, which serves nothing else meanwhile.
  virtual std::shared_ptr<KQHelperTask> rootTaskWithPrompt(std::string_view prompt) = 0;
};

}  // namespace revwarden
