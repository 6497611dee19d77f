#include "host/platform_objects.h"

#include <utility>

#include "host/json_values.h"
#include "ports/linux/processes/launch_application.h"
#include "protocol/names.h"

namespace revwarden {
namespace {

void reportExchange(EventLog& events, const ExchangeEnd& end) {
  events.append(events::kUpdateService,
                jsonList({jsonText(end.address), jsonText(int64_t{end.status}),
                          jsonText(end.bytesReceived), jsonTextOrNull(end.error)}));
}

LinuxWorkspace::Reports workspaceReports(EventLog& events) {
  return {.opened =
              [&events](std::string_view url, bool opened) {
                events.append(events::kOpenURL, jsonList({jsonText(url), jsonText(opened)}));
              },
          .selected =
              [&events](std::string_view path, std::string_view root, bool selected) {
                events.append(events::kSelectFile,
                              jsonList({jsonText(path), jsonText(root), jsonText(selected)}));
              }};
}

LinuxHelperManager::Reports helperReports(EventLog& events) {
  return {.asked =
              [&events](std::string_view prompt, bool granted) {
                events.append(events::kRootTaskWithPrompt,
                              jsonList({jsonText(prompt), jsonText(granted)}));
              },
          .ended =
              [&events](std::string_view selector, const Array& arguments,
                        const std::optional<std::string>& error) {
                events.append(events::kRootTask, jsonList({jsonText(selector), jsonText(arguments),
                                                           jsonTextOrNull(error)}));
              }};
}

}  // namespace

Result<std::unique_ptr<PlatformObjects>> PlatformObjects::create(const Options& options) {
  Result<TemporaryFolder> temporary = takeTemporaryFolder();
  if (!temporary) return Error{"", "no temporary folder: " + temporary.error().message};
  auto loop = GLibRunLoop::create();
  if (!loop) return Error{"", "cannot create the main loop"};
  std::unique_ptr<PlatformObjects> made(
      new PlatformObjects(options, std::move(loop), std::move(*temporary)));
  if (options.eventLog) {
    const Result<> opened = made->events.writeTo(*options.eventLog);
    if (!opened) return opened.error();
  }
  return made;
}

PlatformObjects::PlatformObjects(const Options& options, std::unique_ptr<GLibRunLoop> loop,
                                 TemporaryFolder temporaryFolder)
    : diagnostics(options.logLevel),
      temporary(std::move(temporaryFolder)),
      mainLoop(std::move(loop)),
      events(*mainLoop, diagnostics),
      outcomes(events),
      notices(events, *mainLoop),
      log(events),
      userDefaults(options.state + "/defaults.plist",
                   [this](const std::string& problem) { diagnostics.warning(problem); }),
      files(options.volumes, temporary.path),
      bundles(REVWARDEN_VERSION, options.plugin),
      systemInformation(options.applications),
      productInformation(options.service),
      connection([this](const ExchangeEnd& end) { reportExchange(events, end); }),
      wake(LogindWake::create()),
      host(notices, events, options.hostApp, launchApplication),
      workspace(threads, workspaceReports(events)),
      children({options.tools, options.helpers}, workspace),
      helpers(options.authorization, options.helpers + "/revwarden-helper", helperReports(events)) {
  if (options.notices != NoticePlace::desktop) return;
  desktop = std::make_unique<DesktopNotices>(notices, productInformation.productName());
  notices.setDisplay(desktop.get());
}

std::shared_ptr<const Platform> PlatformObjects::platform() {
  return std::make_shared<const Platform>(Platform{*mainLoop,
                                                   threads,
                                                   clock,
                                                   log,
                                                   localization,
                                                   userDefaults,
                                                   files,
                                                   bundles,
                                                   versions,
                                                   systemInformation,
                                                   productInformation,
                                                   xml,
                                                   connection,
                                                   *wake,
                                                   host,
                                                   outcomes,
                                                   downloads,
                                                   children,
                                                   fileOperations,
                                                   propertyLists,
                                                   workspace,
                                                   scripts,
                                                   helpers,
                                                   host});
}

}  // namespace revwarden
