#include "host/client_connection.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>

#include "host/json_rpc.h"

namespace revwarden {
namespace {

constexpr size_t kReceiveBytes = 64 << 10;
constexpr size_t kLinesAtOnce = 64;

}  // namespace

bool ClientConnection::receive() {
  received_.erase(0, begin_);
  scanned_ -= begin_;
  begin_ = 0;
  const size_t held = received_.size();
  received_.resize(held + kReceiveBytes);
  const ssize_t count = ::recv(descriptor(), received_.data() + held, kReceiveBytes, 0);
  received_.resize(held + (count > 0 ? static_cast<size_t>(count) : 0));
  if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) inputEnded_ = true;
  return count > 0;
}

void ClientConnection::hangUp() {
  while (!inputEnded_ && receive()) continue;
  inputEnded_ = true;
  endOutput();
}

void ClientConnection::endOutput() {
  outputEnded_ = true;
  waiting_.clear();
  waitingBytes_ = sentOfFirst_ = 0;
}

std::optional<std::string> ClientConnection::takeRequest() {
  if (!mayTakeRequest()) return std::nullopt;
  const size_t lineBreak = received_.find('\n', scanned_);
  const bool whole = lineBreak != std::string::npos;
  const size_t end = whole ? lineBreak : received_.size();
  scanned_ = end;
  if (end - begin_ > limits_.line) {
    refuseLongLine();
    return std::nullopt;
  }
  if (!whole && (!inputEnded_ || begin_ == end)) return std::nullopt;
  std::string line = received_.substr(begin_, end - begin_);
  begin_ = scanned_ = end + (whole ? 1 : 0);
  if (begin_ == received_.size()) {
    received_ = {};
    begin_ = scanned_ = 0;
  }
  ++unanswered_;
  unansweredBytes_ += line.size();
  return line;
}

void ClientConnection::refuseLongLine() {
  received_ = {};
  begin_ = scanned_ = 0;
  inputEnded_ = true;
  queue(std::make_shared<std::string>(
      rpcErrorReply({kRpcInvalidRequest, "Invalid Request: the line is longer than " +
                                             std::to_string(limits_.line) + " bytes"}) +
      '\n'));
}

void ClientConnection::didAnswer(size_t requestBytes) {
  --unanswered_;
  unansweredBytes_ -= requestBytes;
}

void ClientConnection::queue(Line line) {
  if (outputEnded_) return;
  waitingBytes_ += line->size();
  waiting_.push_back(std::move(line));
}

void ClientConnection::send() {
  while (!waiting_.empty()) {
    std::array<iovec, kLinesAtOnce> parts;
    size_t count = 0;
    for (; count < waiting_.size() && count < kLinesAtOnce; ++count) {
      const size_t skipped = count == 0 ? sentOfFirst_ : 0;
      parts[count] = {const_cast<char*>(waiting_[count]->data()) + skipped,
                      waiting_[count]->size() - skipped};
    }
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = count;
    const ssize_t sent = ::sendmsg(descriptor(), &message, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0) {
      if (errno != EAGAIN) endOutput();
      return;
    }
    hasRead_ = true;
    waitingBytes_ -= static_cast<size_t>(sent);
    sentOfFirst_ += static_cast<size_t>(sent);
    while (!waiting_.empty() && sentOfFirst_ >= waiting_.front()->size()) {
      sentOfFirst_ -= waiting_.front()->size();
      waiting_.pop_front();
    }
  }
}

bool ClientConnection::mayTakeRequest() const {
  return unanswered_ < limits_.requests && unansweredBytes_ <= limits_.line &&
         waitingBytes_ <= limits_.backlog;
}

bool ClientConnection::wantsToReceive() const {
  return !inputEnded_ && mayTakeRequest();
}

bool ClientConnection::isOver() const {
  return inputEnded_ && begin_ == received_.size() && unanswered_ == 0 && waiting_.empty();
}

std::optional<ClientConnection::Clock::time_point> ClientConnection::deadline(
    Clock::time_point now) {
  if (waitingBytes_ <= limits_.backlog) {
    stalledSince_.reset();
  } else if (hasRead_ || !stalledSince_) {
    stalledSince_ = now;
  }
  hasRead_ = false;
  if (!stalledSince_) return std::nullopt;
  return *stalledSince_ + limits_.patience;
}

}  // namespace revwarden
