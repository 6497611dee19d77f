#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace revwarden {

/// One accepted connection, in the hands of a test's script.
class ScriptedPeer {
 public:
  explicit ScriptedPeer(int socket) : socket_(socket) {}
  ScriptedPeer(const ScriptedPeer&) = delete;
  ScriptedPeer& operator=(const ScriptedPeer&) = delete;
  ~ScriptedPeer() { close(socket_); }

  bool send(std::string_view bytes) const {
    return ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
  }

  /// Lets the close be a reset.
  void resetOnClose() const {
    const linger hard{1, 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
  }

  void waitUntilPeerCloses() const {
    char byte;
    while (recv(socket_, &byte, 1, 0) > 0) {
    }
  }

  /// The whole request: its head and as much body as its Content-Length says.
  std::string readRequest() const {
    std::string request;
    size_t wanted = std::string::npos;
    char buffer[65536];
    while (request.size() < wanted) {
      const ssize_t count = recv(socket_, buffer, sizeof buffer, 0);
      if (count <= 0) break;
      request.append(buffer, static_cast<size_t>(count));
      const size_t head = request.find("\r\n\r\n");
      if (head == std::string::npos) continue;
      const size_t length = request.find("Content-Length: ");
      wanted = head + 4 + (length < head ? std::stoul(request.substr(length + 16)) : 0);
    }
    return request;
  }

 private:
  const int socket_;
};

/// An HTTP server on loopback that says exactly what the scripts tell it: one script a connection,
/// after the request was read. The destructor waits for all scripts.
class ScriptedServer {
 public:
  using Script = std::function<void(const ScriptedPeer&)>;

  explicit ScriptedServer(std::vector<Script> scripts) : scripts_(std::move(scripts)) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
    listen(listener_, 8);
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
  }
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  ~ScriptedServer() {
    join();
    close(listener_);
  }

  /// One script that answers these bytes.
  static Script says(std::string bytes) {
    return [bytes](const ScriptedPeer& peer) { peer.send(bytes); };
  }

  std::string url(std::string_view path = "/") const {
    return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
  }

  /// The requests of all connections, once all scripts have run.
  const std::vector<std::string>& requests() {
    join();
    return requests_;
  }

 private:
  void serve() {
    for (const Script& script : scripts_) {
      const ScriptedPeer peer(accept(listener_, nullptr, nullptr));
      requests_.push_back(peer.readRequest());
      script(peer);
    }
  }

  // Ends a wait for a connection that was never made.
  void join() {
    if (!thread_.joinable()) return;
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
  }

  std::vector<Script> scripts_;
  std::vector<std::string> requests_;
  int listener_ = -1;
  int port_ = 0;
  std::thread thread_;
};

}  // namespace revwarden
