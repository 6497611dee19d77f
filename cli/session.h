#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/connection.h"
#include "cli/text_output.h"
#include "platform/version.h"

namespace revwarden {

enum ExitStatus : int { kOk = 0, kFailed = 1, kUsage = 2, kNoAgent = 3, kInterrupted = 130 };

/// Writes to standard output or, behind the program's name, to standard error. A reader that went
/// away is noticed by `outputIsLost` only.
void print(std::string_view text);
void complain(std::string_view text);

/// Whether standard output no longer takes anything.
bool outputIsLost();

/// A connection to the agent for one command: whatever goes wrong is said on standard error once.
class AgentSession {
 public:
  /// nullptr when no agent runs there, after having said how to start one.
  static std::unique_ptr<AgentSession> create(const std::string& socketPath);

  /// The result of a request; absent after it has been said why there is none, or without a word
  /// when the patience had an end.
  std::optional<Json> call(const std::string& method, Json params = Json::array(),
                           const AgentConnection::Patience& patience = {});

  /// All records of the catalogue, in its order.
  std::optional<std::vector<Json>> records();

  AgentConnection& connection() { return *connection_; }

  /// Ends the connection until `reconnect`: the agent does not keep a client that reads nothing
  /// while a person thinks.
  void disconnect() { connection_.reset(); }
  /// False when no agent runs any more, after that has been said.
  bool reconnect();

  const std::string& socketPath() const { return socketPath_; }

 private:
  explicit AgentSession(std::string socketPath) : socketPath_(std::move(socketPath)) {}

  const std::string socketPath_;
  std::unique_ptr<AgentConnection> connection_;
};

/// What every command works with.
struct CommandContext {
  AgentSession& agent;
  const Versions& versions;
  Terminal terminal;
  bool json = false;

  /// Prints a line for people; to standard error where the output is JSON.
  void say(const std::string& text) const;
};

/// The records that all the names stand for, each once; absent after it has been said which are
/// unknown or ambiguous. The exit status is then `kUsage`.
std::optional<std::vector<Json>> recordsNamed(const std::vector<Json>& records,
                                              const std::vector<std::string>& names);

/// Says that there is no application, where the agent looks for them and how to change that.
void explainNoApplications(AgentSession& agent);

}  // namespace revwarden
