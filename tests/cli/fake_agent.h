#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <map>
#include <mutex>
#include <thread>

#include "cli/connection.h"
#include "tests/cli/run_program.h"

namespace revwarden {

/// An agent without a catalogue: it answers each request by a script, one client at a time.
class FakeAgent {
 public:
  /// The client of the request that a script answers.
  struct Peer {
    void raw(const std::string& bytes) const {
      if (send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) return;
    }
    void reply(const Json& result) const {
      raw(Json{{"jsonrpc", "2.0"}, {"id", id}, {"result", result}}.dump() + "\n");
    }
    void event(const std::string& method, const Json& about = Json::array()) const {
      raw(Json{{"jsonrpc", "2.0"}, {"method", method}, {"params", about}}.dump() + "\n");
    }
    void play(const std::vector<AgentEvent>& events) const {
      for (const AgentEvent& each : events) event(each.method, each.params);
    }
    void interruptClient() const {
      ucred client{};
      socklen_t size = sizeof client;
      if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &client, &size) == 0 && client.pid > 0) {
        kill(client.pid, SIGINT);
      }
    }
    void hangUp() const { shutdown(socket, SHUT_RDWR); }

    const int socket;
    const Json id, params;
  };
  using Script = std::function<void(const Peer&)>;

  /// Methods without a script are unknown. "connected" is run for each new client.
  explicit FakeAgent(std::map<std::string, Script> scripts)
      : scripts_(std::move(scripts)), listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    folder_.file("agent.sock").copy(address.sun_path, sizeof address.sun_path - 1);
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

  static Script answering(Json result) {
    return [result](const Peer& peer) { peer.reply(result); };
  }

  /// Runs the program with this agent to speak to.
  Outcome run(const std::vector<std::string>& arguments, const std::string& output = "") const {
    return runProgram(toThis(arguments), output);
  }
  Outcome onTerminal(const std::vector<std::string>& arguments, unsigned short columns,
                     const std::string& typed = "") const {
    return runOnTerminal(toThis(arguments), columns, typed);
  }

  /// The calls so far, as [method, params].
  std::vector<Json> calls() {
    const std::lock_guard lock(mutex_);
    return calls_;
  }

 private:
  std::vector<std::string> toThis(std::vector<std::string> arguments) const {
    arguments.insert(arguments.end(), {"--socket", folder_.file("agent.sock")});
    return arguments;
  }
  void serve() {
    for (int client; (client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
      answer("connected", {client, nullptr, nullptr});
      FILE* const requests = fdopen(client, "r");
      char* line = nullptr;
      for (size_t size = 0; getline(&line, &size, requests) > 0;) {
        const Json request = Json::parse(line);
        const std::lock_guard lock(mutex_);
        calls_.push_back(Json::array({request["method"], request["params"]}));
        answer(request["method"], {client, request["id"], request["params"]});
      }
      free(line);
      fclose(requests);
    }
  }
  void answer(const std::string& method, const Peer& peer) {
    const auto script = scripts_.find(method);
    if (script != scripts_.end()) return script->second(peer);
    if (method == "connected") return;
    const Json error = {{"code", -32601}, {"message", "refused"}};
    peer.raw(Json{{"jsonrpc", "2.0"}, {"id", peer.id}, {"error", error}}.dump() + "\n");
  }

  const ScratchFolder folder_;
  std::map<std::string, Script> scripts_;
  const int listener_;
  std::mutex mutex_;
  std::vector<Json> calls_;
  std::thread thread_;
};

}  // namespace revwarden
