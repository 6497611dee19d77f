#include "ports/linux/helper/helper_protocol.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace revwarden {
namespace {

constexpr size_t kLongestMessage = 1 << 20;

void append(std::string& bytes, uint32_t length) {
  bytes.append(reinterpret_cast<const char*>(&length), sizeof length);
}

std::optional<uint32_t> takeLength(std::string_view& bytes) {
  uint32_t length;
  if (bytes.size() < sizeof length) return std::nullopt;
  std::memcpy(&length, bytes.data(), sizeof length);
  bytes.remove_prefix(sizeof length);
  return length;
}

bool receiveAll(int socket, std::string& bytes) {
  size_t received = 0;
  while (received < bytes.size()) {
    const ssize_t count = ::recv(socket, bytes.data() + received, bytes.size() - received, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    received += static_cast<size_t>(count);
  }
  return true;
}

std::optional<HelperMessage> fieldsOf(std::string_view bytes) {
  HelperMessage message;
  while (!bytes.empty()) {
    const std::optional<uint32_t> length = takeLength(bytes);
    if (!length || *length > bytes.size()) return std::nullopt;
    message.emplace_back(bytes.substr(0, *length));
    bytes.remove_prefix(*length);
  }
  return message;
}

}  // namespace

bool sendMessage(int socket, const HelperMessage& message) {
  std::string fields;
  for (const std::string& field : message) {
    if (field.size() > kLongestMessage) return false;
    append(fields, static_cast<uint32_t>(field.size()));
    fields += field;
  }
  if (fields.size() > kLongestMessage) return false;
  std::string bytes;
  append(bytes, static_cast<uint32_t>(fields.size()));
  bytes += fields;
  for (std::string_view rest = bytes; !rest.empty();) {
    const ssize_t count = ::send(socket, rest.data(), rest.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    rest.remove_prefix(static_cast<size_t>(count));
  }
  return true;
}

std::optional<HelperMessage> receiveMessage(int socket) {
  std::string prefix(sizeof(uint32_t), '\0');
  if (!receiveAll(socket, prefix)) return std::nullopt;
  std::string_view view = prefix;
  const std::optional<uint32_t> length = takeLength(view);
  if (!length || *length > kLongestMessage) return std::nullopt;
  std::string fields(*length, '\0');
  if (!receiveAll(socket, fields)) return std::nullopt;
  return fieldsOf(fields);
}

bool sendAnswer(int socket, const Result<std::string>& answer) {
  if (answer) return sendMessage(socket, {*answer});
  return sendMessage(socket, {answer.error().code, answer.error().message});
}

Result<std::string> receiveAnswer(int socket) {
  const std::optional<HelperMessage> answer = receiveMessage(socket);
  if (answer && answer->size() == 1) return answer->front();
  if (answer && answer->size() == 2) return Error{answer->front(), answer->back()};
  return Error{"", "the helper has ended"};
}

bool HelperConnection::isGreeted(int process) {
  pollfd sources[] = {{socket_.get(), POLLIN, 0}, {process, POLLIN, 0}};
  while (::poll(sources, 2, -1) < 0) {
    if (errno != EINTR) return false;
  }
  return sources[0].revents != 0 && receiveMessage(socket_.get()) == HelperMessage{kHelperGreeting};
}

Result<std::string> HelperConnection::ask(const HelperMessage& request) {
  const std::lock_guard lock(oneRequest_);
  if (finished_) return Error{"", "the helper was stopped"};
  if (!sendMessage(socket_.get(), request)) return Error{"", "the helper has ended"};
  return receiveAnswer(socket_.get());
}

bool HelperConnection::finish() {
  if (finished_.exchange(true)) return false;
  ::shutdown(socket_.get(), SHUT_WR);
  return true;
}

void HelperConnection::abandon() {
  finished_ = true;
  ::shutdown(socket_.get(), SHUT_RDWR);
}

}  // namespace revwarden
