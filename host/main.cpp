#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>

#include "agent/kqrw_agent.h"
#include "host/agent_methods.h"
#include "host/control_socket.h"
#include "host/delegate_events.h"
#include "host/ending.h"
#include "host/host_methods.h"
#include "host/plugin_loader.h"
#include "host/socket_claim.h"
#include "host/surroundings.h"

using namespace revwarden;

namespace {

/// For a write under way; together they stay below the time that a signal leaves.
constexpr auto kPatience = std::chrono::milliseconds(700);

int fail(const std::string& error) {
  writeErrorLine("revwarden-agent: " + error);
  return 1;
}

/// Serves the agent until a signal ends the process; returns only when it cannot.
int serve(const Options& options, Surroundings& surroundings, SocketClaim& claim) {
  std::string error;
  LoadedPlugin plugin = loadPlugin(options.plugin, surroundings.platform(), error);
  if (!plugin.agent) return fail(error);
  const auto delegate = std::make_shared<DelegateEvents>(surroundings.events);
  plugin.agent->setDelegate(delegate);

  RpcMethods methods = agentMethods(plugin.agent);
  addHostMethods(methods, {plugin.version, options.applications}, surroundings.notices,
                 surroundings.events, [&surroundings] { surroundings.wake->deliver(); });
  FileDescriptor listener = claim.listen(error);
  if (!listener) return fail(error);
  const auto socket = ControlSocket::create(
      std::move(listener), *surroundings.mainLoop, surroundings.diagnostics,
      [&methods](std::string_view line) { return answerLine(line, methods); }, {}, error);
  if (!socket) return fail(error);
  surroundings.events.setListener([&socket](std::string_view method, std::string_view params) {
    socket->notify(method, params);
  });
  surroundings.diagnostics.info("listening on " + options.socket);
  surroundings.mainLoop->run();
  return 0;
}

/// A pass over many applications would else leave the process several times larger than the idle
/// agent needs to be: each thread gets a heap of its own, and the limit from which memory is
/// returned grows with what was once used.
void keepHeapSmall() {
  ::mallopt(M_ARENA_MAX, 1);
  ::mallopt(M_MMAP_THRESHOLD, 128 << 10);
  ::mallopt(M_TRIM_THRESHOLD, 128 << 10);
}

int runAgent(int argc, char** argv) {
  const ParsedOptions parsed = parseOptions(argc, argv);
  if (!parsed.options) return parsed.exitStatus;
  const Options& options = *parsed.options;
  std::string error;
  const auto claim = SocketClaim::create(options.socket, error);
  if (!claim) return fail(error);
  const auto surroundings = Surroundings::create(options, error);
  if (!surroundings) return fail(error);
  const auto finish = [&surroundings] {
    surroundings->userDefaults.finishWritesAndClose(kPatience);
    surroundings->events.finishForever(kPatience);
  };
  // Once nothing more is told, so that no job seems to fail by the end of its child.
  const auto release = [&surroundings, &claim] {
    surroundings->children.endAll();
    surroundings->helpers.endAll();
    claim->release();
  };
  if (!endOnSignals(finish, release)) {
    return fail("the system has no thread to spare");
  }
  const int status = serve(options, *surroundings, *claim);
  release();
  // The agent's threads may be at work on what a return would destroy.
  ::_exit(status);
}

}  // namespace

int main(int argc, char** argv) {
  keepHeapSmall();
  holdEndingSignals();
  std::signal(SIGPIPE, SIG_IGN);
  return runAgent(argc, argv);
}
