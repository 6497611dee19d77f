#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace revwarden {

/// An HTTP server on loopback. Each script serves one connection: it is called with the socket
/// after the request was read. The destructor waits for all scripts.
class ScriptedServer {
 public:
  using Script = std::function<void(int socket)>;

  explicit ScriptedServer(std::vector<Script> scripts) : scripts_(std::move(scripts)) {
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address_;
    bind(listener_, reinterpret_cast<sockaddr*>(&address_), size);
    listen(listener_, 8);
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address_), &size);
    thread_ = std::thread([this] { serve(); });
  }
  ScriptedServer(const ScriptedServer&) = delete;
  ~ScriptedServer() { requests(), close(listener_); }

  static void say(int socket, std::string_view bytes) {
    send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  /// A script that sends these bytes.
  static Script says(std::string bytes) {
    return [bytes](int socket) { say(socket, bytes); };
  }
  std::string url(std::string_view path = "/") const {
    return "http://127.0.0.1:" + std::to_string(ntohs(address_.sin_port)) + std::string(path);
  }

  /// Waits for all scripts and returns the requests of all connections.
  const std::vector<std::string>& requests() {
    if (!thread_.joinable()) return requests_;
    shutdown(listener_, SHUT_RDWR);  // ends a wait for a connection that was never made
    thread_.join();
    return requests_;
  }

 private:
  void serve() {
    for (const Script& script : scripts_) {
      const int socket = accept(listener_, nullptr, nullptr);
      requests_.push_back(readRequest(socket));
      script(socket);
      close(socket);
    }
  }

  // Reads the header, and as much body as Content-Length says.
  static std::string readRequest(int socket) {
    std::string request;
    size_t wanted = std::string::npos;
    char buffer[65536];
    for (ssize_t count; request.size() < wanted;) {
      if ((count = recv(socket, buffer, sizeof buffer, 0)) <= 0) break;
      request.append(buffer, static_cast<size_t>(count));
      const size_t head = request.find("\r\n\r\n");
      const size_t length = request.find("Content-Length: ");
      if (head == std::string::npos) continue;
      wanted = head + 4 + (length < head ? std::stoul(request.substr(length + 16)) : 0);
    }
    return request;
  }

  std::vector<Script> scripts_;
  std::vector<std::string> requests_;
  const int listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address_{};
  std::thread thread_;
};

}  // namespace revwarden
