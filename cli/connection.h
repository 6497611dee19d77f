#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"

namespace revwarden {

using Json = nlohmann::json;

/// An event that the agent sends to all its clients.
struct AgentEvent {
  std::string method;
  Json params;

  /// The parameter at that index; null if there is none.
  const Json& parameter(size_t index) const;
  /// The same as text: other values as JSON, null as "". Not cleaned.
  std::string text(size_t index) const;
};

/// The codes of a connection's errors. After any but `kRefused` and `kUnknownMethod` the connection
/// must not be used any more.
namespace connection_error {
inline constexpr char kRefused[] = "refused";  // the agent replied with an error
inline constexpr char kUnknownMethod[] = "unknownMethod";
inline constexpr char kEnded[] = "ended";        // the agent closed the connection
inline constexpr char kProtocol[] = "protocol";  // it sent something that is no message
inline constexpr char kNoReply[] = "noReply";
inline constexpr char kGivenUp[] = "givenUp";  // the caller's patience ended
}  // namespace connection_error

/// A connection to the agent's socket: JSON-RPC 2.0, one message a line.
///
/// Replies and events come in one order. `call` stops reading at its reply: what `takeEvents`
/// returns after it happened before the reply, what comes later after it. Single-threaded.
class AgentConnection {
 public:
  /// Fails if nothing listens at that path, or a process of another user.
  static Result<std::unique_ptr<AgentConnection>> create(const std::string& socketPath);

  ~AgentConnection();
  AgentConnection(const AgentConnection&) = delete;
  AgentConnection& operator=(const AgentConnection&) = delete;

  /// Called every 250 ms during a call. Returns true to continue waiting for the reply.
  using Patience = std::function<bool()>;

  /// Sends a request and waits for its reply: at most 60 s, or until `patience` returns false.
  Result<Json> call(const std::string& method, Json params = Json::array(),
                    const Patience& patience = {});

  /// Returns the events that have arrived and were not taken yet, oldest first.
  std::vector<AgentEvent> takeEvents();

  /// Waits for the next event; without a time limit forever. The value is absent if the time is up.
  Result<std::optional<AgentEvent>> nextEvent(std::optional<std::chrono::milliseconds> limit);

 private:
  using Deadline = std::optional<std::chrono::steady_clock::time_point>;

  explicit AgentConnection(int socket) : socket_(socket) {}
  bool sendAll(const std::string& bytes);
  Result<bool> readMessage(Json& message, Deadline deadline);
  Result<bool> fillBuffer(Deadline deadline);
  bool takeLine(std::string& line);
  bool keepIfEvent(Json& message);

  int socket_;
  int64_t lastId_ = 0;
  std::string buffer_;
  size_t scanned_ = 0;  // the buffer has no line break before this index
  std::deque<AgentEvent> events_;
};

}  // namespace revwarden
