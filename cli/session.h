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

/// `print` writes to standard output, `complain` a line that starts with the program's name to
/// standard error. Check for write errors with `outputIsLost`.
void print(std::string_view text);
void complain(std::string_view text);

/// Whether writing to standard output has failed.
bool outputIsLost();

/// A connection to the agent for one command. Prints every error to standard error, once.
class AgentSession {
 public:
  /// Returns nullptr if no agent runs there, after it has printed how to start one.
  static std::unique_ptr<AgentSession> create(const std::string& socketPath);

  /// Returns the result of a request. Absent after an error, which is printed, and when `patience`
  /// ended.
  std::optional<Json> call(const std::string& method, Json params = Json::array(),
                           const AgentConnection::Patience& patience = {});

  /// All records of the catalogue, in its order.
  std::optional<std::vector<Json>> records();

  AgentConnection& connection() { return *connection_; }

  /// Ends the connection until `reconnect`. Needed while a person thinks, because the agent drops
  /// a client that reads nothing.
  void disconnect() { connection_.reset(); }
  /// Returns false if the agent no longer runs, after it has printed that.
  bool reconnect();

  const std::string& socketPath() const { return socketPath_; }

 private:
  explicit AgentSession(std::string socketPath) : socketPath_(std::move(socketPath)) {}

  const std::string socketPath_;
  std::unique_ptr<AgentConnection> connection_;
};

/// What every command needs.
struct CommandContext {
  AgentSession& agent;
  const Versions& versions;
  Terminal terminal;
  bool json = false;

  /// Prints a line for people: to standard error if the output is JSON.
  void say(const std::string& text) const;
};

/// Returns the records that the names mean, each once. Absent if a name is unknown or ambiguous,
/// which is printed; the exit status is then `kUsage`.
std::optional<std::vector<Json>> recordsNamed(const std::vector<Json>& records,
                                              const std::vector<std::string>& names);

/// Prints that no application was found, which folders the agent searches, and how to change that.
void explainNoApplications(AgentSession& agent);

}  // namespace revwarden
