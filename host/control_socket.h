#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/result.h"
#include "host/client_connection.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

class Diagnostics;
class RunLoop;

/// Serves the clients of a listening socket.
///
/// A thread of its own reads and writes, and sleeps while there is nothing to do. Requests are
/// posted to the main loop, where they run in the order of their arrival, also in nested turns of
/// the loop. At most `kDeepest` requests run nested, so that they cannot exhaust the stack; further
/// ones wait. Sending never waits for a client: notifications and replies are queued for all
/// clients in one order.
class ControlSocket {
 public:
  static constexpr size_t kDeepest = 100;

  /// Performs the request in a line and returns the reply, if there is one. Main thread.
  using Answerer = std::function<std::optional<std::string>(std::string_view line)>;

  /// `mainLoop`, `diagnostics` and what `answerer` uses must outlive the socket; the socket must
  /// outlive the run of the loop. Fails if the system lacks descriptors or threads.
  static Result<std::unique_ptr<ControlSocket>> create(FileDescriptor listener, RunLoop& mainLoop,
                                                       const Diagnostics& diagnostics,
                                                       Answerer answerer,
                                                       const ClientConnection::Limits& limits);

  /// Ends all connections.
  ~ControlSocket();
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;

  /// Queues a notification for every client. `params` is the text of a JSON array. Any thread.
  void notify(std::string_view method, std::string_view params);

  /// Waits until everything queued was sent, at most for `limit`. Any thread.
  void flush(std::chrono::milliseconds limit);

 private:
  using ClientId = uint64_t;
  using Moment = ClientConnection::Clock::time_point;
  struct Client {
    ClientConnection connection;
    uint32_t interest = 0;  // the epoll events that are watched
    bool isWatched = true;  // by epoll
  };
  struct Request {
    ClientId client;
    std::string line;
  };

  ControlSocket(FileDescriptor listener, FileDescriptor poll, FileDescriptor wake,
                RunLoop& mainLoop, const Diagnostics& diagnostics, Answerer answerer,
                const ClientConnection::Limits& limits);

  bool watch(int operation, int fd, ClientId id, uint32_t events);
  void wake();
  void run();
  void handle(ClientId id, uint32_t events);
  void acceptClients();
  void pauseAccepting();
  std::vector<Request> tend(std::optional<Moment>& deadline);
  bool tend(ClientId id, Client& client, std::vector<Request>& requests,
            std::optional<Moment>& deadline);
  void perform(Request request);
  void performLater(Request&& request);
  std::optional<std::string> answer(const Request& request);

  const FileDescriptor listener_;
  const FileDescriptor poll_;
  const FileDescriptor wake_;
  RunLoop& mainLoop_;
  const Diagnostics& diagnostics_;
  const Answerer answerer_;
  const ClientConnection::Limits limits_;

  std::optional<Moment> acceptAgainAt_;  // the socket's thread
  size_t depth_ = 0;                     // main thread: number of requests running nested
  std::deque<Request> waiting_;          // main thread: until one of them ends

  std::mutex mutex_;                    // no other lock is taken under it
  std::map<ClientId, Client> clients_;  // by mutex_
  ClientId lastId_;                     // by mutex_
  std::condition_variable sent_;

  std::atomic<bool> isEnding_ = false;
  std::atomic<bool> isWoken_ = false;
  std::thread thread_;  // depends-on: everything above
};

}  // namespace revwarden
