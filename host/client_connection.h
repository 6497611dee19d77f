#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// One client of the control socket: takes its lines apart and keeps what waits to be sent to it.
///
/// Its descriptor never blocks. Passive, and not safe across threads.
class ClientConnection {
 public:
  /// A line, with its line break, that may wait for many clients at once.
  using Line = std::shared_ptr<const std::string>;
  using Clock = std::chrono::steady_clock;

  struct Limits {
    size_t line = 16 << 20;     // bytes of a client's line
    size_t backlog = 16 << 20;  // bytes that may wait for as long as they like
    std::chrono::milliseconds patience = std::chrono::seconds(30);  // when more than these wait
    size_t requests = 16;  // unanswered at a time; further ones are not read
  };

  ClientConnection(FileDescriptor socket, const Limits& limits)
      : socket_(std::move(socket)), limits_(limits) {}

  int descriptor() const { return socket_.get(); }

  /// Reads what has arrived; whether that was anything.
  bool receive();

  /// To be called once the client is gone: reads what it has left; nothing is sent any more.
  void hangUp();

  /// The next line, without its line break, when a further request may be begun; `didAnswer` must
  /// follow. What comes after the last line break counts as a line once the client has ended its
  /// side. When a line grows too long this queues the error and `isOver` holds when it is sent.
  std::optional<std::string> takeRequest();

  /// The request that was taken with this many bytes is done.
  void didAnswer(size_t requestBytes);

  void queue(Line line);

  /// Sends as much as the client takes.
  void send();

  bool wantsToReceive() const;
  bool wantsToSend() const { return !waiting_.empty(); }

  /// Nothing is left to do: the client's side has ended, all is answered and sent.
  bool isOver() const;

  /// When the connection is to be dropped unless the client reads until then; absent when not too
  /// much waits. To be asked after each `send`.
  std::optional<Clock::time_point> deadline(Clock::time_point now);

 private:
  bool hasRoomForRequest() const;
  void refuseLongLine();
  void endOutput();

  FileDescriptor socket_;
  const Limits limits_;

  std::string received_;
  size_t begin_ = 0;    // of the current line
  size_t scanned_ = 0;  // no line break between begin_ and here
  bool inputEnded_ = false;

  size_t unanswered_ = 0;
  size_t unansweredBytes_ = 0;

  std::deque<Line> waiting_;
  size_t waitingBytes_ = 0;  // without those of the first line that are sent
  size_t sentOfFirst_ = 0;
  bool outputEnded_ = false;  // what would be sent is forgotten
  bool hasRead_ = false;      // since `deadline` was asked last
  std::optional<Clock::time_point> stalledSince_;
};

}  // namespace revwarden
