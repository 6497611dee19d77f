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

/// What happens when administrator rights are asked for.
enum class Authorization {
  ask,     // polkit asks the user: the helper is started by `pkexec`, found in PATH
  always,  // granted: the helper is started directly, with the rights of this process
  never,   // refused
};

/// Administrator rights on Linux: a helper program that carries out the operations of a task. Each
/// task has a process of its own, which runs from the grant until `stop`, the end of the task or
/// the end of this process.
///
/// Before it ends, a helper completes a move or copy that is under way, so that no application is
/// left in halves. It kills a running script with the processes that the script started.
class LinuxHelperManager final : public KQHelperManager {
 public:
  /// Called on the thread that made the request.
  struct Reports {
    /// The user has answered the prompt.
    std::function<void(std::string_view prompt, bool granted)> asked;
    /// An operation of a task has ended, with or without an error. Only the first "stop" is
    /// reported.
    std::function<void(std::string_view selector, const Array& arguments,
                       const std::optional<std::string>& error)>
        ended;
  };

  /// `helperProgram` is the full path of `revwarden-helper`. The reports must stay valid as long as
  /// a task exists, which may outlive the manager.
  LinuxHelperManager(Authorization authorization, std::string helperProgram, Reports reports);

  Result<std::shared_ptr<KQHelperTask>> rootTaskWithPrompt(std::string_view prompt) override;

  /// For the end of this process: kills a program that is still asking, ends the helpers without
  /// waiting for them, and forbids to start others. Any thread.
  void endAll();

 private:
  Result<std::shared_ptr<HelperConnection>> obtainHelper();
  Error refusal(int status) const;
  std::vector<std::string> helperCommand() const;
  Result<pid_t> start(int socket, const std::shared_ptr<HelperConnection>& connection);
  void settle(bool granted);

  const Authorization authorization_;
  const std::string helperProgram_;
  const std::shared_ptr<const Reports> reports_;

  std::mutex mutex_;  // of what follows
  bool hasEnded_ = false;
  pid_t asking_ = 0;  // the started program before its greeting; not reaped yet; 0: none
  std::vector<std::weak_ptr<HelperConnection>> connections_;
};

}  // namespace revwarden
