#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "base/result.h"

namespace revwarden {

/// A privileged helper that carries out operations with administrator rights, one at a time. Any
/// thread. After `stop`, or after the helper process has ended, every operation returns an error.
class KQHelperTask {
 public:
  virtual ~KQHelperTask() = default;

  /// As `FileOperations::moveItemAtPathToTrash`.
  virtual Result<std::string> moveItemAtPathToTrash(std::string_view path) = 0;

  /// As `FileOperations::copyDirectoryAtPath_toPath`.
  virtual Result<> performCopyItemAtPath_toPath(std::string_view source,
                                                std::string_view destination) = 0;

  /// Runs one of the helper's named actions ("runScript").
  virtual Result<> performAction_withArguments(
      std::string_view action, const std::map<std::string, std::string>& arguments) = 0;

  /// Ends the helper; does not wait for it.
  virtual void stop() = 0;
};

/// Obtains administrator rights (`sharedManager` of the shared library).
class KQHelperManager {
 public:
  virtual ~KQHelperManager() = default;

  /// Asks the user, showing `prompt`, and waits for the answer. Main thread, which serves nothing
  /// else until then. Error codes: "notAuthorized" (the user refused), "authorizationUnavailable"
  /// (the rights cannot be obtained on this machine). The task is never null.
  virtual Result<std::shared_ptr<KQHelperTask>> rootTaskWithPrompt(std::string_view prompt) = 0;
};

}  // namespace revwarden
