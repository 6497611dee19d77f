#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <nlohmann/json.hpp>
#include <thread>

#include "host/control_socket.h"
#include "host/diagnostics.h"
#include "host/event_log.h"
#include "host/json_rpc.h"
#include "host/socket_claim.h"
#include "tests/fakes/manual_run_loop.h"
#include "tests/fakes/scratch_folder.h"

namespace revwarden {

using Json = nlohmann::json;

inline std::vector<Json> linesOf(const std::string& path) {
  std::vector<Json> lines;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) lines.push_back(Json::parse(line));
  return lines;
}

/// A client that speaks in raw bytes; reading gives up after ten seconds.
class RawClient {
 public:
  explicit RawClient(const std::string& path) {
    socket_ = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience{10, 0};
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
  }

  void send(const std::string& bytes) {
    for (size_t done = 0; done < bytes.size();) {
      const ssize_t count =
          ::send(socket_.get(), bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
      if (count < 0) return;
      done += static_cast<size_t>(count);
    }
  }
  void request(const std::string& method, const Json& params = Json::array(), const Json& id = 1) {
    send(Json{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}}.dump() +
         "\n");
  }

  /// The next line; null when the connection has ended or nothing comes.
  Json receive() {
    while (true) {
      const size_t end = received_.find('\n');
      if (end != std::string::npos) {
        const std::string line = received_.substr(0, end);
        received_.erase(0, end + 1);
        return Json::parse(line);
      }
      char bytes[65536];
      const ssize_t count = ::recv(socket_.get(), bytes, sizeof bytes, 0);
      if (count <= 0) {
        hasEnded = count == 0 || errno == ECONNRESET;
        return nullptr;
      }
      received_.append(bytes, static_cast<size_t>(count));
    }
  }
  Json call(const std::string& method, const Json& params = Json::array()) {
    request(method, params);
    return receive();
  }

  bool hasEnded = false;

 private:
  FileDescriptor socket_;
  std::string received_;
};

/// The event log and the socket around a main thread that serves them.
class Server {
 public:
  using Prepare = std::function<void(Server&)>;

  /// `prepare` adds the methods; it runs on the main thread.
  explicit Server(const Prepare& prepare, ClientConnection::Limits limits = {}) {
    std::promise<void> listening;
    main_ = std::thread([&] { serve(prepare, limits, listening); });
    listening.get_future().wait();
  }
  ~Server() {
    loop->post([this] { isEnding_ = true; });
    main_.join();
  }

  const std::string path() const { return folder.file("run/agent.sock"); }

  ScratchFolder folder;
  const Diagnostics diagnostics{LogLevel::error};
  ManualClock clock;
  std::unique_ptr<ManualRunLoop> loop;
  std::unique_ptr<EventLog> events;
  RpcMethods methods;

 private:
  void serve(const Prepare& prepare, const ClientConnection::Limits& limits,
             std::promise<void>& listening) {
    loop = std::make_unique<ManualRunLoop>(clock);
    events = std::make_unique<EventLog>(*loop, diagnostics);
    EXPECT_TRUE(events->writeTo(folder.file("events")).ok());
    prepare(*this);
    const auto claim = std::move(*SocketClaim::create(path()));
    const auto socket = std::move(*ControlSocket::create(
        std::move(*claim->listen()), *loop, diagnostics,
        [this](std::string_view line) { return answerLine(line, methods); }, limits));
    events->setListener([&socket](std::string_view method, std::string_view params) {
      socket->notify(method, params);
    });
    listening.set_value();
    while (!isEnding_) loop->runUntil([this] { return isEnding_; });
    events->setListener(nullptr);
  }

  std::thread main_;
  bool isEnding_ = false;  // main thread
};

}  // namespace revwarden
