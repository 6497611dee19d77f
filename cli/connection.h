#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace revwarden {

using Json = nlohmann::json;

/// Something that happened in the agent, as it tells all its clients.
struct AgentEvent {
  std::string method;
  Json params;

  /// The parameter at that place; null without one.
  const Json& parameter(size_t index) const;
  /// The same as text: of a value that is none its JSON, of null nothing. Not cleaned.
  std::string text(size_t index) const;
};

/// Why a request has no result.
struct CallFailure {
  enum class Kind {
    refused,  // the agent answered with an error
    lost,     // the connection ended or carried something that is no message
    givenUp,  // the caller's patience had an end
  };
  Kind kind = Kind::lost;
  int code = 0;  // the JSON-RPC error's, when refused
  std::string text;

  /// Whether the agent does not know the method.
  bool isUnknownMethod() const { return kind == Kind::refused && code == -32601; }
};

struct CallReply {
  Json result;
  std::optional<CallFailure> failure;
};

/// A connection to the agent's socket: JSON-RPC 2.0, one message a line.
///
/// Replies and events come in one order. `call` stops reading at its reply: what `takeEvents` gives
/// after it happened before the reply, what comes later after it. One thread.
class AgentConnection {
 public:
  enum class Wait { event, timedOut, ended, broken };

  /// nullptr and the reason in `error` when nobody listens at that path.
  static std::unique_ptr<AgentConnection> create(const std::string& socketPath, std::string& error);

  ~AgentConnection();
  AgentConnection(const AgentConnection&) = delete;
  AgentConnection& operator=(const AgentConnection&) = delete;

  /// Asked about every quarter of a second whether to go on waiting for a reply.
  using Patience = std::function<bool()>;

  /// Sends a request and waits for its reply: at most a minute, or for as long as `patience` has.
  /// After a failure of kind `lost` or `givenUp` the connection is of no more use for calls.
  CallReply call(const std::string& method, Json params = Json::array(),
                 const Patience& patience = {});

  /// The events that arrived so far and were not taken yet, oldest first.
  std::vector<AgentEvent> takeEvents();

  /// Waits for the next event; without a time limit for as long as it takes. `ended` means that the
  /// agent closed the connection, `broken` that it sent something that is no message.
  Wait nextEvent(AgentEvent& event, std::optional<std::chrono::milliseconds> limit);

  /// What was wrong after `broken`.
  const std::string& brokenText() const { return broken_; }

 private:
  using Deadline = std::optional<std::chrono::steady_clock::time_point>;
  enum class Read { line, timedOut, ended, broken };

  explicit AgentConnection(int socket) : socket_(socket) {}
  bool sendAll(const std::string& bytes);
  Read readMessage(Json& message, Deadline deadline);
  bool takeLine(std::string& line);
  Read fillBuffer(Deadline deadline);
  Read breakOff(std::string why);
  bool keepIfEvent(Json& message);
  CallFailure lostFailure(Read read) const;

  int socket_;
  int64_t lastId_ = 0;
  std::string buffer_;
  size_t scanned_ = 0;  // no line break before this place in the buffer
  std::deque<AgentEvent> events_;
  std::string broken_;
};

}  // namespace revwarden
