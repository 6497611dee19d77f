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
// A reply with all records of a very large catalogue is far below it.
constexpr size_t kLongestMessage = size_t{512} << 20;

// Anybody can listen in a folder that others may write: only this user's agent and root's are
// believed. Root itself may look at the agent of whomever it names.
bool isTrustedPeer(int fd) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
  return peer.uid == geteuid() || peer.uid == 0 || geteuid() == 0;
}

int connectTo(const std::string& path, std::string& error) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    error = path.empty() ? "the path is empty" : "the path is too long for a socket";
    return -1;
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    error = std::strerror(errno);
  } else if (isTrustedPeer(fd)) {
    return fd;
  } else {
    error = "it belongs to another user";
  }
  if (fd >= 0) close(fd);
  return -1;
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

std::unique_ptr<AgentConnection> AgentConnection::create(const std::string& socketPath,
                                                         std::string& error) {
  const int fd = connectTo(socketPath, error);
  if (fd < 0) return nullptr;
  return std::unique_ptr<AgentConnection>(new AgentConnection(fd));
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

AgentConnection::Read AgentConnection::breakOff(std::string why) {
  broken_ = std::move(why);
  return Read::broken;
}

AgentConnection::Read AgentConnection::fillBuffer(Deadline deadline) {
  int wait = -1;
  if (deadline) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now());
    if (left.count() < 0) return Read::timedOut;
    wait = static_cast<int>(left.count());
  }
  pollfd entry{socket_, POLLIN, 0};
  const int ready = poll(&entry, 1, wait);
  if (ready == 0) return Read::timedOut;
  if (ready < 0) return errno == EINTR ? Read::line : breakOff(std::strerror(errno));
  char chunk[65536];
  const ssize_t count = recv(socket_, chunk, sizeof chunk, 0);
  if (count < 0) {
    if (errno == EINTR) return Read::line;
    return errno == ECONNRESET ? Read::ended : breakOff(std::strerror(errno));
  }
  if (count == 0) {
    return buffer_.empty() ? Read::ended
                           : breakOff("the connection ended in the middle of a message");
  }
  buffer_.append(chunk, static_cast<size_t>(count));
  return Read::line;
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

AgentConnection::Read AgentConnection::readMessage(Json& message, Deadline deadline) {
  std::string line;
  while (!takeLine(line)) {
    if (buffer_.size() > kLongestMessage) return breakOff("a message without an end");
    if (const Read read = fillBuffer(deadline); read != Read::line) return read;
  }
  message = Json::parse(line, nullptr, false);
  if (!message.is_object()) return breakOff("something that is no message");
  return Read::line;
}

bool AgentConnection::keepIfEvent(Json& message) {
  const auto method = message.find("method");
  if (method == message.end() || !method->is_string() || message.contains("id")) return false;
  const auto params = message.find("params");
  events_.push_back(
      {method->get<std::string>(), params == message.end() ? Json::array() : std::move(*params)});
  return true;
}

CallFailure AgentConnection::lostFailure(Read read) const {
  switch (read) {
    case Read::timedOut:
      return {CallFailure::Kind::lost, 0, "The agent does not answer."};
    case Read::broken:
      return {CallFailure::Kind::lost, 0, "The agent is not understood: " + broken_ + "."};
    default:
      return {CallFailure::Kind::lost, 0, "The agent closed the connection."};
  }
}

CallReply AgentConnection::call(const std::string& method, Json params, const Patience& patience) {
  const int64_t id = ++lastId_;
  const Json request = {
      {"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", std::move(params)}};
  const auto text = request.dump(-1, ' ', false, Json::error_handler_t::replace);
  if (!sendAll(text + "\n")) return {nullptr, lostFailure(Read::ended)};
  const Deadline limit = std::chrono::steady_clock::now() + kReplyLimit;
  for (Json message;;) {
    const Read read =
        readMessage(message, patience ? std::chrono::steady_clock::now() + kPatienceTurn : limit);
    if (read == Read::timedOut && patience) {
      if (patience()) continue;
      return {nullptr, CallFailure{CallFailure::Kind::givenUp, 0, ""}};
    }
    if (read != Read::line) return {nullptr, lostFailure(read)};
    if (keepIfEvent(message) || message.value("id", Json()) != id) continue;
    if (message.contains("result")) return {std::move(message["result"]), std::nullopt};
    const Json error = message.value("error", Json::object());
    if (!error.is_object()) return {nullptr, lostFailure(breakOff("a reply without a result"))};
    const Json code = error.value("code", Json());
    const Json errorText = error.value("message", Json());
    return {nullptr,
            CallFailure{CallFailure::Kind::refused, code.is_number_integer() ? code.get<int>() : 0,
                        errorText.is_string() ? errorText.get<std::string>()
                                              : std::string("unknown error")}};
  }
}

std::vector<AgentEvent> AgentConnection::takeEvents() {
  std::vector<AgentEvent> taken(std::make_move_iterator(events_.begin()),
                                std::make_move_iterator(events_.end()));
  events_.clear();
  return taken;
}

AgentConnection::Wait AgentConnection::nextEvent(AgentEvent& event,
                                                 std::optional<std::chrono::milliseconds> limit) {
  Deadline deadline;
  if (limit) deadline = std::chrono::steady_clock::now() + *limit;
  while (events_.empty()) {
    Json message;
    const Read read = readMessage(message, deadline);
    if (read == Read::timedOut) return Wait::timedOut;
    if (read == Read::ended) return Wait::ended;
    if (read == Read::broken) return Wait::broken;
    keepIfEvent(message);
  }
  event = std::move(events_.front());
  events_.pop_front();
  return Wait::event;
}

}  // namespace revwarden
