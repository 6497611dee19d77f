#pragma once

#include <functional>
#include <memory>

#include "platform/platform.h"
#include "platform/run_loop.h"
#include "platform/threads.h"
#include "ports/linux/bundles/linux_bundles.h"
#include "ports/linux/files/linux_file_manager.h"
#include "ports/posix/system_clock.h"
#include "tests/fakes/fake_platform.h"

// A platform without threads, so that a benchmark measures only the work of the agent: everything
// runs immediately on the calling thread.
namespace revwarden::bench {

/// A main loop that runs posted calls immediately.
struct InlineLoop final : RunLoop {
  bool isMainThread() const override { return true; }
  void post(std::function<void()> call) override { call(); }
  void postAndWait(std::function<void()> call) override { call(); }
  Turn runOneTurn(RunLoopMode) override { return Turn::nothingToRun; }
  std::unique_ptr<Timer> addTimer(Date, std::function<void()>) override { return nullptr; }
};

/// Runs the body of a thread on the calling thread.
struct InlineThreads final : Threads {
  bool detachNewThread(std::function<void()> body) override {
    body();
    return true;
  }
};

/// The real file system and clock; everything else is in memory.
struct InlinePlatform {
  InlineLoop loop;
  InlineThreads threads;
  SystemClock clock;
  LinuxFileManager files{{}, "/tmp"};
  LinuxBundles bundles{"1.0", std::nullopt};
  FakePlatform memory;

  /// Returns the platform with these four objects. All must outlive its users.
  Platform with(UserDefaults& userDefaults, KQSystemInformation& machine,
                KQProductInformation& product, URLConnection& connection) {
    return {.mainLoop = loop,
            .threads = threads,
            .clock = clock,
            .log = memory.log,
            .localization = memory.localization,
            .userDefaults = userDefaults,
            .files = files,
            .bundles = bundles,
            .versions = memory.versions,
            .systemInformation = machine,
            .productInformation = product,
            .xml = memory.xml,
            .connection = connection,
            .wake = memory.host,
            .host = memory.host,
            .outcomes = memory.outcomes,
            .downloads = memory.downloads,
            .children = memory.machine,
            .fileOperations = memory.machine,
            .propertyLists = memory.machine,
            .workspace = memory.machine,
            .scripts = memory.machine,
            .helpers = memory.machine,
            .hostJobs = memory.machine};
  }
};

}  // namespace revwarden::bench
