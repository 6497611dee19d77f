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
#include "host/host_methods.h"
#include "host/platform_objects.h"
#include "host/plugin_loader.h"
#include "host/shutdown.h"
#include "host/socket_claim.h"

using namespace revwarden;

namespace {

/// For a write under way; together they stay below the time that a signal leaves.
constexpr auto kPatience = std::chrono::milliseconds(700);

int fail(const std::string& error) {
  writeErrorLine("revwarden-agent: " + error);
  return 1;
}

/// Serves the agent until a signal ends the process; returns only when it cannot.
int serve(const Options& options, PlatformObjects& objects, SocketClaim& claim) {
  std::string error;
  LoadedPlugin plugin = loadPlugin(options.plugin, objects.platform(), error);
  if (!plugin.agent) return fail(error);
  const auto delegate = std::make_shared<DelegateEvents>(objects.events);
  plugin.agent->setDelegate(delegate);

  RpcMethods methods = agentMethods(plugin.agent);
  addHostMethods(methods,
                 {.pluginVersion = plugin.version,
                  .searchFolders = options.applications,
                  .notices = objects.notices,
                  .events = objects.events,
                  .outcomes = objects.outcomes,
                  .unsavedSince = [&objects] { return objects.userDefaults.unsavedSince(); },
                  .openJobs = [] { return std::vector<std::string>(); },
                  .deliverWake = [&objects] { objects.wake->deliver(); }});
  FileDescriptor listener = claim.listen(error);
  if (!listener) return fail(error);
  const auto socket = ControlSocket::create(
      std::move(listener), *objects.mainLoop, objects.diagnostics,
      [&methods](std::string_view line) { return answerLine(line, methods); }, {}, error);
  if (!socket) return fail(error);
  objects.events.setListener([&socket](std::string_view method, std::string_view params) {
    socket->notify(method, params);
  });
  objects.diagnostics.info("listening on " + options.socket);
  objects.mainLoop->run();
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
  const auto objects = PlatformObjects::create(options, error);
  if (!objects) return fail(error);
  const auto finish = [&objects] {
    objects->userDefaults.finishWritesAndClose(kPatience);
    objects->events.finishForever(kPatience);
  };
  // Once nothing more is told, so that no job seems to fail by the end of its child.
  const auto release = [&objects, &claim] {
    objects->children.endAll();
    objects->helpers.endAll();
    claim->release();
  };
  if (!shutDownOnSignals(finish, release)) {
    return fail("the system has no thread to spare");
  }
  const int status = serve(options, *objects, *claim);
  release();
  // The agent's threads may be at work on what a return would destroy.
  ::_exit(status);
}

}  // namespace

int main(int argc, char** argv) {
  keepHeapSmall();
  blockShutdownSignals();
  std::signal(SIGPIPE, SIG_IGN);
  return runAgent(argc, argv);
}
