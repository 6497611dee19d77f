#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "base/result.h"

namespace revwarden {

/// A helper process that performs operations with administrator rights, one at a time. Each
/// operation blocks until it is done. After `stop`, or after the helper process has ended, every
/// operation returns an error. Any thread.
class KQHelperTask {
 public:
  virtual ~KQHelperTask() = default;

  /// As `FileOperations::moveItemAtPathToTrash`.
  virtual Result<std::string> moveItemAtPathToTrash(std::string_view path) = 0;

  /// As `FileOperations::copyDirectoryAtPath_toPath`.
  virtual Result<> performCopyItemAtPath_toPath(std::string_view source,
                                                std::string_view destination) = 0;

  /// Performs a named action of the helper. The agent uses "runScript", which runs the program at
  /// the path in "SCRIPT" with the arguments in its environment.
  virtual Result<> performAction_withArguments(
      std::string_view action, const std::map<std::string, std::string>& arguments) = 0;

  /// Ends the helper. Does not wait until it has ended.
  virtual void stop() = 0;
};

/// Obtains administrator rights (`sharedManager` of the shared library).
class KQHelperManager {
 public:
  virtual ~KQHelperManager() = default;

  /// Shows `prompt` to the user and waits for the answer; the main loop does not run until then.
  /// Returns the helper task, never null. Error codes: "notAuthorized" (the user refused),
  /// "authorizationUnavailable" (this machine cannot grant the rights). Main thread.
  virtual Result<std::shared_ptr<KQHelperTask>> rootTaskWithPrompt(std::string_view prompt) = 0;
};

}  // namespace revwarden
