#include "ports/linux/helper/helper_manager.h"

#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <utility>

#include "ports/linux/files/user_folders.h"
#include "ports/linux/helper/helper_protocol.h"
#include "ports/linux/processes/process_control.h"
#include "ports/posix/spawn.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

constexpr std::chrono::seconds kEndPatience(2);

Error unavailable(const Error& cause) {
  return {"authorizationUnavailable", "cannot get administrator rights: " + cause.message};
}

class LinuxHelperTask final : public KQHelperTask {
 public:
  using Reports = LinuxHelperManager::Reports;

  LinuxHelperTask(std::shared_ptr<HelperConnection> helper, std::shared_ptr<const Reports> reports)
      : helper_(std::move(helper)), reports_(std::move(reports)) {}

  Result<std::string> moveItemAtPathToTrash(std::string_view path) override {
    return ask({kMoveToTrashSelector, std::string(path)}, {path});
  }

  Result<> performCopyItemAtPath_toPath(std::string_view source,
                                        std::string_view destination) override {
    return withoutValue(
        ask({kCopySelector, std::string(source), std::string(destination)}, {source, destination}));
  }

  Result<> performAction_withArguments(
      std::string_view action, const std::map<std::string, std::string>& arguments) override {
    HelperMessage request{kActionSelector, std::string(action)};
    DictionaryBuilder reported;
    for (const auto& [key, value] : arguments) {
      request.insert(request.end(), {key, value});
      reported.set(key, value);
    }
    return withoutValue(ask(request, {action, reported.build()}));
  }

  void stop() override {
    if (helper_->finish()) reports_->ended("stop", Array(), std::nullopt);
  }

 private:
  static Result<> withoutValue(const Result<std::string>& result) {
    if (!result) return result.error();
    return kSuccess;
  }

  Result<std::string> ask(const HelperMessage& request, std::vector<Value> arguments) {
    Result<std::string> result = helper_->ask(request);
    reports_->ended(request.front(), Array(std::move(arguments)),
                    result ? std::nullopt : std::optional(result.error().message));
    return result;
  }

  const std::shared_ptr<HelperConnection> helper_;
  const std::shared_ptr<const Reports> reports_;
};

}  // namespace

LinuxHelperManager::LinuxHelperManager(Authorization authorization, std::string helperProgram,
                                       Reports reports)
    : authorization_(authorization),
      helperProgram_(std::move(helperProgram)),
      reports_(std::make_shared<const Reports>(std::move(reports))) {}

Result<std::shared_ptr<KQHelperTask>> LinuxHelperManager::rootTaskWithPrompt(
    std::string_view prompt) {
  Result<std::shared_ptr<HelperConnection>> helper = obtainHelper();
  reports_->asked(prompt, helper.ok());
  if (!helper) return helper.error();
  return std::shared_ptr<KQHelperTask>(
      std::make_shared<LinuxHelperTask>(std::move(*helper), reports_));
}

Result<std::shared_ptr<HelperConnection>> LinuxHelperManager::obtainHelper() {
  if (authorization_ == Authorization::never) {
    return Error{"notAuthorized",
                 "this agent may not ask for administrator rights (option --authorization)"};
  }
  // pkexec reports a missing program with the status of a refusal.
  if (::access(helperProgram_.c_str(), X_OK) != 0) return unavailable(systemError(helperProgram_));
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    return unavailable(systemError());
  }
  auto connection = std::make_shared<HelperConnection>(FileDescriptor(ends[0]));
  FileDescriptor helpersEnd(ends[1]);
  const Result<pid_t> pid = start(helpersEnd.get(), connection);
  helpersEnd = FileDescriptor();
  if (!pid) return unavailable(pid.error());
  const FileDescriptor process = openProcess(*pid);
  const bool granted = connection->isGreeted(process.get());
  settle(granted);
  if (!granted && endsBefore(std::chrono::steady_clock::now() + kEndPatience, process)) {
    return refusal(waitForEnd(*pid));
  }
  reapInBackground(*pid);
  if (!granted) return refusal(0);
  return connection;
}

// Exit statuses of pkexec: 126 if the user dismissed the dialogue, 127 if no authorization was
// obtained.
Error LinuxHelperManager::refusal(int status) const {
  if (authorization_ == Authorization::ask && (status == 126 || status == 127)) {
    return {"notAuthorized",
            "administrator rights were not granted (refused, or no authentication agent runs)"};
  }
  return unavailable({"", helperCommand().front() + " ended without starting the helper"});
}

std::vector<std::string> LinuxHelperManager::helperCommand() const {
  if (authorization_ == Authorization::always) return {helperProgram_};
  return {"pkexec", helperProgram_, "--data-home", dataFolder()};
}

// Standard output goes to standard error, so that nothing that pkexec prints can pass for an answer
// of the helper. In a session of its own pkexec has no terminal on which it could ask and wait
// while somebody else uses the terminal.
Result<pid_t> LinuxHelperManager::start(int socket,
                                        const std::shared_ptr<HelperConnection>& connection) {
  SpawnRequest request;
  request.command = helperCommand();
  request.input = socket;
  request.output = request.error = STDERR_FILENO;
  request.belongs = SpawnRequest::Belongs::inOwnSession;

  const std::lock_guard lock(mutex_);
  if (hasEnded_) return Error{"", "the agent is ending"};
  Result<pid_t> pid = spawn(request);
  if (!pid) return pid;
  asking_ = *pid;
  std::erase_if(connections_, [](const auto& one) { return one.expired(); });
  connections_.push_back(connection);
  return pid;
}

void LinuxHelperManager::settle(bool granted) {
  const std::lock_guard lock(mutex_);
  if (!granted) ::kill(-asking_, SIGKILL);
  asking_ = 0;
}

void LinuxHelperManager::endAll() {
  const std::lock_guard lock(mutex_);
  hasEnded_ = true;
  if (asking_ > 0) ::kill(-asking_, SIGKILL);
  for (const std::weak_ptr<HelperConnection>& one : connections_) {
    if (const std::shared_ptr<HelperConnection> connection = one.lock()) connection->abandon();
  }
}

}  // namespace revwarden
