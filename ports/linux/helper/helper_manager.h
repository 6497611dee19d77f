#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/value.h"
#include "platform/helper.h"

namespace revwarden {

class HelperConnection;

/// How a request for administrator rights is answered.
enum class Authorization {
  ask,     // by polkit, which asks the user: the helper is started by `pkexec`, found in PATH
  always,  // granted: the helper is started as it is, with the rights of this process
  never,   // refused
};

/// Administrator rights on Linux: a small program that does what its task is asked, one process for
/// each task, from the grant until `stop`, the end of the task or the end of this process.
///
/// A helper that is to end completes what it moves or copies, so that no application is left in
/// halves; a script it kills, with all that the script started.
class LinuxHelperManager final : public KQHelperManager {
 public:
  /// What is told, on the thread that asked.
  struct Reports {
    /// The user has answered the prompt.
    std::function<void(std::string_view prompt, bool granted)> asked;
    /// An operation of a task has ended, whatever came of it; of several "stop" only the first.
    std::function<void(std::string_view selector, const Array& arguments,
                       const std::optional<std::string>& error)>
        ended;
  };

  /// `helperProgram` is the full path of `revwarden-helper`. The reports may outlive the manager:
  /// tasks do.
  LinuxHelperManager(Authorization authorization, std::string helperProgram, Reports reports);

  Result<std::shared_ptr<KQHelperTask>> rootTaskWithPrompt(std::string_view prompt) override;

  /// For the end of this process: kills a program that is still asking, ends the helpers, and lets
  /// none be started from now on. Any thread, whatever the others do; does not wait for the
  /// helpers.
  void endAll();

 private:
  Result<std::shared_ptr<HelperConnection>> obtainHelper();
  Error refusal(int status) const;
  std::vector<std::string> helperCommand() const;
  pid_t start(int socket, const std::shared_ptr<HelperConnection>& connection);
  void settle(bool granted);

  const Authorization authorization_;
  const std::string helperProgram_;
  const std::shared_ptr<const Reports> reports_;

  std::mutex mutex_;  // of what follows
  bool hasEnded_ = false;
  pid_t asking_ = 0;  // the program started that has not answered yet, not reaped either; 0 if none
  std::vector<std::weak_ptr<HelperConnection>> connections_;
};

}  // namespace revwarden
