#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/fakes/scratch_folder.h"

namespace revwarden {

using Json = nlohmann::json;

/// An agent without a catalogue: it answers each request by a script, one client at a time.
class FakeAgent {
 public:
  /// The client of the request that a script answers.
  class Peer {
   public:
    Peer(int socket, Json id) : socket_(socket), id_(std::move(id)) {}
    void raw(const std::string& bytes) const {
      if (send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) return;
    }
    void reply(const Json& result) const {
      raw(Json{{"jsonrpc", "2.0"}, {"id", id_}, {"result", result}}.dump() + "\n");
    }
    void event(const std::string& method, const Json& params = Json::array()) const {
      raw(Json{{"jsonrpc", "2.0"}, {"method", method}, {"params", params}}.dump() + "\n");
    }
    void refuse(int code) const {
      const Json error = {{"code", code}, {"message", "refused"}};
      raw(Json{{"jsonrpc", "2.0"}, {"id", id_}, {"error", error}}.dump() + "\n");
    }
    void interruptClient() const {
      ucred client{};
      socklen_t size = sizeof client;
      if (getsockopt(socket_, SOL_SOCKET, SO_PEERCRED, &client, &size) == 0 && client.pid > 0) {
        kill(client.pid, SIGINT);
      }
    }
    void hangUp() const { shutdown(socket_, SHUT_RDWR); }

   private:
    const int socket_;
    const Json id_;
  };
  using Script = std::function<void(const Peer&, const Json& params)>;

  /// Methods without a script are unknown. "connected" is run for each new client.
  explicit FakeAgent(std::map<std::string, Script> scripts)
      : scripts_(std::move(scripts)), listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath().copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener_, 5) != 0) {
      std::abort();
    }
    thread_ = std::thread([this] { serve(); });
  }
  ~FakeAgent() {
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
  }

  std::string socketPath() const { return folder_.file("agent.sock"); }

  /// The calls so far, as [method, params].
  std::vector<Json> calls() {
    const std::lock_guard lock(mutex_);
    return calls_;
  }

  static Script answering(Json result) {
    return [result](const Peer& peer, const Json&) { peer.reply(result); };
  }

 private:
  void serve() {
    for (int client; (client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
      run("connected", Peer(client, nullptr), Json::array());
      FILE* const requests = fdopen(client, "r");
      char* line = nullptr;
      for (size_t size = 0; getline(&line, &size, requests) > 0;) {
        const Json request = Json::parse(line);
        run(request["method"], Peer(client, request["id"]), request["params"]);
      }
      free(line);
      fclose(requests);
    }
  }
  void run(const std::string& method, const Peer& peer, const Json& params) {
    const auto script = scripts_.find(method);
    if (method != "connected") {
      const std::lock_guard lock(mutex_);
      calls_.push_back(Json::array({method, params}));
      if (script == scripts_.end()) peer.refuse(-32601);
    }
    if (script != scripts_.end()) script->second(peer, params);
  }

  const ScratchFolder folder_;
  std::map<std::string, Script> scripts_;
  const int listener_;
  std::mutex mutex_;
  std::vector<Json> calls_;
  std::thread thread_;
};

}  // namespace revwarden
