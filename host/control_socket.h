#pragma once

#include <atomic>
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

#include "host/client_connection.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

class Diagnostics;
class RunLoop;

/// Serves the clients of the listening socket.
///
/// A thread of its own reads and writes; requests are posted to the main loop, where they run in
/// the order of their arrival, also in nested turns. While `kDeepest` run within each other,
/// further ones wait: they would exhaust the stack. What is sent never waits for a client: it is
/// queued, in one order for all of them. The thread sleeps as long as no client does anything and
/// nothing waits to be sent.
class ControlSocket {
 public:
  static constexpr size_t kDeepest = 100;

  /// Performs the request of a line and gives the line of the reply, if it has one. Main thread.
  using Answerer = std::function<std::optional<std::string>(std::string_view line)>;

  /// `mainLoop`, `diagnostics` and what `answerer` uses must outlive the socket; the socket must
  /// outlive the running of the loop. nullptr, with the reason, when the system cannot give what it
  /// needs.
  static std::unique_ptr<ControlSocket> create(FileDescriptor listener, RunLoop& mainLoop,
                                               const Diagnostics& diagnostics, Answerer answerer,
                                               const ClientConnection::Limits& limits,
                                               std::string& error);

  /// Ends all connections.
  ~ControlSocket();
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;

  /// Queues a notification for every client; `params` is a JSON list. Any thread.
  void notify(std::string_view method, std::string_view params);

 private:
  using ClientId = uint64_t;
  using Moment = ClientConnection::Clock::time_point;
  struct Client {
    ClientConnection connection;
    uint32_t interest = 0;  // the epoll events asked for
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
  size_t depth_ = 0;                     // main thread: of the requests that run
  std::deque<Request> waiting_;          // main thread: for one of them to end

  std::mutex mutex_;                    // a leaf
  std::map<ClientId, Client> clients_;  // by mutex_
  ClientId lastId_;                     // by mutex_

  std::atomic<bool> isEnding_ = false;
  std::atomic<bool> isWoken_ = false;
  std::thread thread_;  // depends-on: everything above
};

}  // namespace revwarden
