#include "host/surroundings.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "host/json_values.h"
#include "ports/linux/temporary_folder.h"

namespace revwarden {
namespace {

void reportExchange(EventLog& events, const ExchangeEnd& end) {
  events.append("updateService",
                jsonList({jsonText(end.address), jsonText(int64_t{end.status}),
                          jsonText(end.bytesReceived), jsonTextOrNull(end.error)}));
}

}  // namespace

std::unique_ptr<Surroundings> Surroundings::create(const Options& options, std::string& error) {
  const TemporaryFolder temporary = privateTemporaryFolder();
  if (temporary.error) {
    error = "no temporary folder: " + *temporary.error;
    return nullptr;
  }
  auto loop = GLibRunLoop::create();
  if (!loop) {
    error = "the main loop cannot be made";
    return nullptr;
  }
  std::unique_ptr<Surroundings> made(new Surroundings(options, std::move(loop), temporary.path));
  if (options.eventLog && !made->events.writeTo(*options.eventLog)) {
    error = "cannot open the event log " + *options.eventLog + ": " + std::strerror(errno);
    return nullptr;
  }
  return made;
}

Surroundings::Surroundings(const Options& options, std::unique_ptr<GLibRunLoop> loop,
                           std::string temporaryFolder)
    : diagnostics(options.logLevel),
      mainLoop(std::move(loop)),
      events(*mainLoop, diagnostics),
      notices(events, *mainLoop),
      log(events),
      userDefaults(options.state + "/defaults.plist",
                   [this](const std::string& problem) { diagnostics.warning(problem); }),
      files(options.volumes, std::move(temporaryFolder)),
      bundles(REVWARDEN_VERSION, options.plugin),
      systemInformation(options.applications),
      productInformation(options.service),
      connection([this](const ExchangeEnd& end) { reportExchange(events, end); }),
      wake(LogindWake::create()),
      host(notices, events, options.hostApp) {
  if (!options.desktopNotices) return;
  desktop = std::make_unique<DesktopNotices>(notices, productInformation.productName());
  notices.setDisplay(desktop.get());
}

std::shared_ptr<const Platform> Surroundings::platform() {
  return std::make_shared<const Platform>(
      Platform{*mainLoop, threads, clock, log, localization, userDefaults, files, bundles, versions,
               systemInformation, productInformation, xml, connection, *wake, host});
}

}  // namespace revwarden
