#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// One client of the control socket: splits its input into lines and queues output to it.
///
/// The descriptor is non-blocking. Passive; not thread-safe.
class ClientConnection {
 public:
  /// A line with its line break; the queues of several clients share it.
  using Line = std::shared_ptr<const std::string>;
  using Clock = std::chrono::steady_clock;

  struct Limits {
    size_t line = 16 << 20;     // bytes of a line from the client
    size_t backlog = 16 << 20;  // bytes that may be queued without a time limit
    std::chrono::milliseconds patience = std::chrono::seconds(30);  // when more are queued
    size_t requests = 16;  // unanswered at a time; further ones are not read
  };

  ClientConnection(FileDescriptor socket, const Limits& limits)
      : socket_(std::move(socket)), limits_(limits) {}

  int descriptor() const { return socket_.get(); }

  /// Reads what has arrived. Returns true if that was anything.
  bool receive();

  /// Call it when the client has closed the connection: reads what it sent before; nothing is sent
  /// to it any more.
  void hangUp();

  /// Returns the next line, without its line break, if there is one and a further request may
  /// start; `didAnswer` must follow. After the client has ended its output, the rest counts as a
  /// line. A line over the limit ends the connection: an error is queued, and `isOver` is true once
  /// it is sent.
  std::optional<std::string> takeRequest();

  /// The request of this many bytes was answered.
  void didAnswer(size_t requestBytes);

  void queue(Line line);

  /// Sends as much as the client accepts.
  void send();

  bool wantsToReceive() const;
  bool wantsToSend() const { return !waiting_.empty(); }

  /// Returns true if the client has ended its output and everything is answered and sent.
  bool isOver() const;

  /// Returns when to drop the connection if the client reads nothing until then; absent while the
  /// backlog is small. Call it after each `send`.
  std::optional<Clock::time_point> deadline(Clock::time_point now);

 private:
  bool mayTakeRequest() const;
  void refuseLongLine();
  void endOutput();

  FileDescriptor socket_;
  const Limits limits_;

  std::string received_;
  size_t begin_ = 0;    // start of the current line
  size_t scanned_ = 0;  // there is no line break from begin_ up to here
  bool inputEnded_ = false;

  size_t unanswered_ = 0;
  size_t unansweredBytes_ = 0;

  std::deque<Line> waiting_;
  size_t waitingBytes_ = 0;  // not yet sent
  size_t sentOfFirst_ = 0;
  bool outputEnded_ = false;  // further output is dropped
  bool hasRead_ = false;      // since the last call of `deadline`
  std::optional<Clock::time_point> stalledSince_;
};

}  // namespace revwarden
