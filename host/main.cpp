#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>

#include "agent/kqrw_agent.h"
#include "base/guarded.h"
#include "host/agent_events.h"
#include "host/control_socket.h"
#include "host/platform_objects.h"
#include "host/plugin_loader.h"
#include "host/rpc_methods.h"
#include "host/shutdown.h"
#include "host/socket_claim.h"

using namespace revwarden;

namespace {

// How long the shutdown waits for a write of the settings, for clients to get the last events, and
// for a write of the event log. They must total less than the time-out in host/shutdown.h.
constexpr auto kWritePatience = std::chrono::milliseconds(600);
constexpr auto kClientPatience = std::chrono::milliseconds(200);

// What the shutdown needs of the running agent, set by the main thread.
struct Running {
  std::shared_ptr<KQRWAgent> agent;
  std::shared_ptr<ControlSocket> socket;
};

int fail(const std::string& message) {
  writeErrorLine("revwarden-agent: " + message);
  return 1;
}

RpcMethods methodsOf(const Options& options, PlatformObjects& objects, const LoadedPlugin& plugin) {
  RpcMethods methods;
  addAgentMethods(methods, plugin.agent);
  addHostMethods(methods,
                 {.pluginVersion = plugin.version,
                  .searchFolders = options.applications,
                  .notices = objects.notices,
                  .events = objects.events,
                  .outcomes = objects.outcomes,
                  .unsavedSince = [&objects] { return objects.userDefaults.unsavedSince(); },
                  .openJobs = [agent = plugin.agent] { return agent->openJobIDs(); },
                  .deliverWake = [&objects] { objects.wake->deliver(); }});
  return methods;
}

// Serves the agent until a signal ends the process. Returns only after a failure.
int serve(const Options& options, PlatformObjects& objects, SocketClaim& claim,
          Guarded<Running>& running) {
  const auto plugin = loadPlugin(options.plugin, objects.platform());
  if (!plugin) return fail(plugin.error().message);
  running.set({plugin->agent, nullptr});
  const auto delegate = std::make_shared<DelegateEvents>(objects.events);
  plugin->agent->setDelegate(delegate);

  const RpcMethods methods = methodsOf(options, objects, *plugin);
  auto listener = claim.listen();
  if (!listener) return fail(listener.error().message);
  auto created = ControlSocket::create(
      std::move(*listener), *objects.mainLoop, objects.diagnostics,
      [&methods](std::string_view line) { return answerLine(line, methods); }, {});
  if (!created) return fail(created.error().message);
  const std::shared_ptr<ControlSocket> socket = std::move(*created);
  running.set({plugin->agent, socket});
  objects.events.setListener([socket](std::string_view method, std::string_view params) {
    socket->notify(method, params);
  });
  objects.diagnostics.info("listening on " + options.socket);
  objects.mainLoop->run();
  return fail("the main loop has ended");
}

// Each thread would get a heap of its own, and the limit above which memory is returned grows with
// use: after a pass over many applications the idle process would stay several times too large.
void keepHeapSmall() {
  ::mallopt(M_ARENA_MAX, 1);
  ::mallopt(M_MMAP_THRESHOLD, 128 << 10);
  ::mallopt(M_TRIM_THRESHOLD, 128 << 10);
}

int runAgent(int argc, char** argv) {
  const ParsedOptions parsed = parseOptions(argc, argv);
  if (!parsed.options) return parsed.exitStatus;
  const Options& options = *parsed.options;
  const auto claim = SocketClaim::create(options.socket);
  if (!claim) return fail(claim.error().message);
  const auto created = PlatformObjects::create(options);
  if (!created) return fail(created.error().message);
  PlatformObjects& objects = **created;
  Guarded<Running> running;
  const auto finish = [&objects, &running] {
    objects.userDefaults.finishWritesAndClose(kWritePatience);
    if (const auto agent = running.get().agent) agent->reportOpenJobsAsEnded();
    if (const auto socket = running.get().socket) socket->flush(kClientPatience);
    objects.events.finishForever(kWritePatience);
  };
  // After `finish`: no event must report the job whose child process ends here as failed.
  const auto release = [&objects, &claim] {
    objects.children.endAll();
    objects.helpers.endAll();
    (*claim)->release();
  };
  if (!shutDownOnSignals(finish, release)) return fail("the system has no thread left");
  const int status = serve(options, objects, **claim, running);
  finish();
  release();
  // Not a return: the agent's threads may still use what it would destroy.
  ::_exit(status);
}

}  // namespace

int main(int argc, char** argv) {
  keepHeapSmall();
  blockShutdownSignals();
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);  // a write beyond the limit for a file fails instead
  return runAgent(argc, argv);
}
