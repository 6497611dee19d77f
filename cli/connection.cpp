#include "cli/connection.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace revwarden {
namespace {

constexpr std::chrono::seconds kReplyLimit{60};
constexpr std::chrono::milliseconds kPatienceTurn{250};
constexpr int kMethodNotFound = -32601;
// Far more than a reply with all records of a very large catalogue.
constexpr size_t kLongestMessage = size_t{512} << 20;

// Any user can listen in a folder that others may write. The agent must belong to this user or to
// root; root may use any user's agent.
bool isTrustedPeer(int fd) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
  return peer.uid == geteuid() || peer.uid == 0 || geteuid() == 0;
}

Result<int> connectTo(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty()) return Error{"", "the path is empty"};
  if (path.size() >= sizeof address.sun_path) {
    return Error{"", "the path is too long for a socket"};
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  Error error;
  if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    error.message = std::strerror(errno);
  } else if (isTrustedPeer(fd)) {
    return fd;
  } else {
    error.message = "it belongs to another user";
  }
  if (fd >= 0) close(fd);
  return error;
}

Error ended() {
  return {connection_error::kEnded, "The agent has ended."};
}

Error protocolError(const std::string& why) {
  return {connection_error::kProtocol, "Protocol error: " + why + "."};
}

// The error in a reply.
Error refusal(const Json& error) {
  if (!error.is_object()) return protocolError("a reply without a result");
  const Json code = error.value("code", Json());
  const Json text = error.value("message", Json());
  return {code == kMethodNotFound ? connection_error::kUnknownMethod : connection_error::kRefused,
          text.is_string() ? text.get<std::string>() : std::string("unknown error")};
}

}  // namespace

const Json& AgentEvent::parameter(size_t index) const {
  static const Json absent;
  return params.is_array() && index < params.size() ? params[index] : absent;
}

std::string AgentEvent::text(size_t index) const {
  const Json& value = parameter(index);
  if (value.is_string()) return value.get<std::string>();
  return value.is_null() ? "" : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Result<std::unique_ptr<AgentConnection>> AgentConnection::create(const std::string& socketPath) {
  const Result<int> fd = connectTo(socketPath);
  if (!fd) return fd.error();
  return std::unique_ptr<AgentConnection>(new AgentConnection(*fd));
}

AgentConnection::~AgentConnection() {
  close(socket_);
}

bool AgentConnection::sendAll(const std::string& bytes) {
  size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    sent += static_cast<size_t>(count);
  }
  return true;
}

// Reads what has arrived. Returns false at the deadline.
Result<bool> AgentConnection::fillBuffer(Deadline deadline) {
  int wait = -1;
  if (deadline) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now());
    if (left.count() < 0) return false;
    wait = static_cast<int>(left.count());
  }
  pollfd entry{socket_, POLLIN, 0};
  const int ready = poll(&entry, 1, wait);
  if (ready == 0) return false;
  char chunk[65536];
  const ssize_t count = ready < 0 ? -1 : recv(socket_, chunk, sizeof chunk, 0);
  if (count < 0 && errno == EINTR) return true;
  if (count == 0 && !buffer_.empty()) {
    return protocolError("the connection ended in the middle of a message");
  }
  if (count == 0 || (count < 0 && errno == ECONNRESET)) return ended();
  if (count < 0) return protocolError(std::strerror(errno));
  buffer_.append(chunk, static_cast<size_t>(count));
  return true;
}

bool AgentConnection::takeLine(std::string& line) {
  const size_t end = buffer_.find('\n', scanned_);
  if (end == std::string::npos) {
    scanned_ = buffer_.size();
    return false;
  }
  line.assign(buffer_, 0, end);
  buffer_.erase(0, end + 1);
  scanned_ = 0;
  return true;
}

// Returns false at the deadline.
Result<bool> AgentConnection::readMessage(Json& message, Deadline deadline) {
  std::string line;
  while (!takeLine(line)) {
    if (buffer_.size() > kLongestMessage) return protocolError("a message without an end");
    const Result<bool> more = fillBuffer(deadline);
    if (!more || !*more) return more;
  }
  message = Json::parse(line, nullptr, false);
  if (!message.is_object()) return protocolError("a line that is no message");
  return true;
}

bool AgentConnection::keepIfEvent(Json& message) {
  const auto method = message.find("method");
  if (method == message.end() || !method->is_string() || message.contains("id")) return false;
  const auto params = message.find("params");
  events_.push_back(
      {method->get<std::string>(), params == message.end() ? Json::array() : std::move(*params)});
  return true;
}

Result<Json> AgentConnection::call(const std::string& method, Json params,
                                   const Patience& patience) {
  const int64_t id = ++lastId_;
  const Json request = {
      {"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", std::move(params)}};
  if (!sendAll(request.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n")) return ended();
  const Deadline limit = std::chrono::steady_clock::now() + kReplyLimit;
  for (Json message;;) {
    const Result<bool> read =
        readMessage(message, patience ? std::chrono::steady_clock::now() + kPatienceTurn : limit);
    if (!read) return read.error();
    if (!*read) {
      if (!patience) return Error{connection_error::kNoReply, "The agent does not answer."};
      if (!patience()) return Error{connection_error::kGivenUp, ""};
      continue;
    }
    if (keepIfEvent(message) || message.value("id", Json()) != id) continue;
    if (message.contains("result")) return std::move(message["result"]);
    return refusal(message.value("error", Json::object()));
  }
}

std::vector<AgentEvent> AgentConnection::takeEvents() {
  std::vector<AgentEvent> taken(std::make_move_iterator(events_.begin()),
                                std::make_move_iterator(events_.end()));
  events_.clear();
  return taken;
}

Result<std::optional<AgentEvent>> AgentConnection::nextEvent(
    std::optional<std::chrono::milliseconds> limit) {
  Deadline deadline;
  if (limit) deadline = std::chrono::steady_clock::now() + *limit;
  while (events_.empty()) {
    Json message;
    const Result<bool> read = readMessage(message, deadline);
    if (!read) return read.error();
    if (!*read) return std::optional<AgentEvent>();
    keepIfEvent(message);
  }
  std::optional<AgentEvent> event = std::move(events_.front());
  events_.pop_front();
  return event;
}

}  // namespace revwarden
