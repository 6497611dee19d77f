#include "host/control_socket.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "host/diagnostics.h"
#include "host/json_rpc.h"
#include "platform/run_loop.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

constexpr uint64_t kWakeId = 0;
constexpr uint64_t kListenerId = 1;  // clients have higher ids
constexpr auto kAcceptPause = std::chrono::seconds(1);

bool isAllowed(int fd) {
  ucred peer{};
  socklen_t length = sizeof peer;
  return ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 &&
         (peer.uid == ::geteuid() || peer.uid == 0);
}

// Milliseconds to wait, rounded up; -1 without a deadline.
int timeoutUntil(const std::optional<ClientConnection::Clock::time_point>& deadline) {
  if (!deadline) return -1;
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(*deadline - ClientConnection::Clock::now());
  return static_cast<int>(std::max<int64_t>(left.count(), 0));
}

void keepEarlier(std::optional<ClientConnection::Clock::time_point>& deadline,
                 const std::optional<ClientConnection::Clock::time_point>& other) {
  if (other && (!deadline || *other < *deadline)) deadline = other;
}

}  // namespace

Result<std::unique_ptr<ControlSocket>> ControlSocket::create(
    FileDescriptor listener, RunLoop& mainLoop, const Diagnostics& diagnostics, Answerer answerer,
    const ClientConnection::Limits& limits) {
  FileDescriptor poll(::epoll_create1(EPOLL_CLOEXEC));
  FileDescriptor wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  std::unique_ptr<ControlSocket> socket(new ControlSocket(std::move(listener), std::move(poll),
                                                          std::move(wake), mainLoop, diagnostics,
                                                          std::move(answerer), limits));
  if (!socket->watch(EPOLL_CTL_ADD, socket->wake_.get(), kWakeId, EPOLLIN) ||
      !socket->watch(EPOLL_CTL_ADD, socket->listener_.get(), kListenerId, EPOLLIN)) {
    return systemError("cannot wait for clients");
  }
  try {
    socket->thread_ = std::thread([raw = socket.get()] { raw->run(); });
  } catch (const std::system_error& failure) {
    return Error{"", std::string("cannot start a thread: ") + failure.what()};
  }
  return socket;
}

ControlSocket::ControlSocket(FileDescriptor listener, FileDescriptor poll, FileDescriptor wake,
                             RunLoop& mainLoop, const Diagnostics& diagnostics, Answerer answerer,
                             const ClientConnection::Limits& limits)
    : listener_(std::move(listener)),
      poll_(std::move(poll)),
      wake_(std::move(wake)),
      mainLoop_(mainLoop),
      diagnostics_(diagnostics),
      answerer_(std::move(answerer)),
      limits_(limits),
      lastId_(kListenerId) {}

ControlSocket::~ControlSocket() {
  isEnding_ = true;
  wake();
  if (thread_.joinable()) thread_.join();
}

void ControlSocket::notify(std::string_view method, std::string_view params) {
  const std::lock_guard lock(mutex_);
  if (clients_.empty()) return;
  const auto line = std::make_shared<const std::string>(rpcNotification(method, params) + '\n');
  for (auto& [id, client] : clients_) client.connection.queue(line);
  wake();
}

void ControlSocket::flush(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  // By the wall clock: ThreadSanitizer does not see waits by the steady clock.
  sent_.wait_until(lock, std::chrono::system_clock::now() + limit, [this] {
    return std::none_of(clients_.begin(), clients_.end(),
                        [](const auto& client) { return client.second.connection.wantsToSend(); });
  });
}

bool ControlSocket::watch(int operation, int fd, ClientId id, uint32_t events) {
  epoll_event event{};
  event.events = events;
  event.data.u64 = id;
  return ::epoll_ctl(poll_.get(), operation, fd, &event) == 0;
}

void ControlSocket::wake() {
  if (isWoken_.exchange(true)) return;
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(wake_.get(), &one, sizeof one);
}

void ControlSocket::run() {
  std::optional<Moment> deadline;
  while (!isEnding_) {
    std::array<epoll_event, 64> events;
    const int count =
        ::epoll_wait(poll_.get(), events.data(), events.size(), timeoutUntil(deadline));
    for (int i = 0; i < count; ++i) handle(events[i].data.u64, events[i].events);
    deadline.reset();
    for (Request& request : tend(deadline)) performLater(std::move(request));
  }
}

void ControlSocket::handle(ClientId id, uint32_t events) {
  if (id == kWakeId) {
    uint64_t count;
    [[maybe_unused]] const ssize_t got = ::read(wake_.get(), &count, sizeof count);
    isWoken_ = false;
    return;
  }
  if (id == kListenerId) return acceptClients();
  const std::lock_guard lock(mutex_);
  const auto found = clients_.find(id);
  if (found == clients_.end()) return;
  Client& client = found->second;
  if ((events & (EPOLLHUP | EPOLLERR)) != 0) {
    watch(EPOLL_CTL_DEL, client.connection.descriptor(), id, 0);
    client.isWatched = false;
    client.connection.hangUp();
  } else if ((events & EPOLLIN) != 0) {
    client.connection.receive();
  }
}

void ControlSocket::acceptClients() {
  while (true) {
    FileDescriptor socket(
        ::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket && (errno == EINTR || errno == ECONNABORTED)) continue;
    if (!socket && errno != EAGAIN) pauseAccepting();
    if (!socket) return;
    if (!isAllowed(socket.get())) {
      diagnostics_.warning("refused a client of another user");
      continue;
    }
    const std::lock_guard lock(mutex_);
    const ClientId id = ++lastId_;
    if (!watch(EPOLL_CTL_ADD, socket.get(), id, EPOLLIN)) continue;
    clients_.emplace(id, Client{ClientConnection(std::move(socket), limits_), EPOLLIN});
  }
}

// Stops watching the listener when no descriptor is free: epoll would report the waiting client
// again at once.
void ControlSocket::pauseAccepting() {
  diagnostics_.warning(systemError("cannot accept a client").message);
  watch(EPOLL_CTL_MOD, listener_.get(), kListenerId, 0);
  acceptAgainAt_ = ClientConnection::Clock::now() + kAcceptPause;
}

// Serves every client: sends what is queued, takes requests, and drops clients that are done.
// Returns the requests to perform. `deadline` is set to when to call it again at the latest, if
// ever.
std::vector<ControlSocket::Request> ControlSocket::tend(std::optional<Moment>& deadline) {
  std::vector<Request> requests;
  if (acceptAgainAt_ && *acceptAgainAt_ <= ClientConnection::Clock::now()) {
    acceptAgainAt_.reset();
    watch(EPOLL_CTL_MOD, listener_.get(), kListenerId, EPOLLIN);
  }
  keepEarlier(deadline, acceptAgainAt_);
  const std::lock_guard lock(mutex_);
  for (auto client = clients_.begin(); client != clients_.end();) {
    const bool stays = tend(client->first, client->second, requests, deadline);
    client = stays ? std::next(client) : clients_.erase(client);
  }
  sent_.notify_all();
  return requests;
}

bool ControlSocket::tend(ClientId id, Client& client, std::vector<Request>& requests,
                         std::optional<Moment>& deadline) {
  ClientConnection& connection = client.connection;
  connection.send();
  while (auto line = connection.takeRequest()) requests.push_back({id, std::move(*line)});
  connection.send();  // takeRequest() may have queued an error
  const Moment now = ClientConnection::Clock::now();
  const auto limit = connection.deadline(now);
  if (limit && *limit <= now) {
    diagnostics_.warning("dropped a client that does not read");
    return false;
  }
  keepEarlier(deadline, limit);
  if (connection.isOver()) return false;
  const uint32_t interest = (connection.wantsToReceive() ? uint32_t{EPOLLIN} : 0) |
                            (connection.wantsToSend() ? uint32_t{EPOLLOUT} : 0);
  if (client.isWatched && interest != client.interest &&
      watch(EPOLL_CTL_MOD, connection.descriptor(), id, interest)) {
    client.interest = interest;
  }
  return true;
}

void ControlSocket::performLater(Request&& request) {
  mainLoop_.post([this, request = std::move(request)]() mutable { perform(std::move(request)); });
}

void ControlSocket::perform(Request request) {
  if (depth_ == kDeepest) {
    waiting_.push_back(std::move(request));
    return;
  }
  const std::optional<std::string> reply = answer(request);
  const std::lock_guard lock(mutex_);
  const auto client = clients_.find(request.client);
  if (client == clients_.end()) return;
  client->second.connection.didAnswer(request.line.size());
  if (reply) client->second.connection.queue(std::make_shared<std::string>(*reply + '\n'));
  wake();
}

std::optional<std::string> ControlSocket::answer(const Request& request) {
  ++depth_;
  std::optional<std::string> reply = answerer_(request.line);
  --depth_;
  if (!waiting_.empty()) {
    performLater(std::move(waiting_.front()));
    waiting_.pop_front();
  }
  return reply;
}

}  // namespace revwarden
