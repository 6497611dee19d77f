#pragma once

#include "tests/core/agent_fixture.h"
#include "updater/kqrw_app_updater.h"

namespace revwarden {

/// One update job in an in-memory world. The journal holds what it does and what its delegate hears
/// but the status, each line after the action that the job was at.
class JobTest : public testing::Test, protected KQRWAppInstallerDelegate {
 protected:
  static constexpr char kLink[] = "http://x/U";

  JobTest() {
    journal.prefix = [this] {
      return std::to_string(static_cast<int64_t>(job->currentAction())) + " ";
    };
    world.log.onLine = [this](const std::string& line) { journal.add(line); };
    world.host.onShow = [this](const HostNotification& notice) {
      journal.add("notice", *notice.text, journal.thread());
    };
  }
  void TearDown() override { world.threads.waitForAll(world.loop); }

  template <typename Job = KQRWAppUpdater>
  void make(const char* method = "auto", const char* link = kLink, const char* missing = "") {
    const Dictionary offer = {{kKQRWIDownloadLinkKey, link}, {kKQRWIUpdateMethodKey, method}};
    const Dictionary item = record("a", "/Applications/A.app")
                                .with(kKQRWAvailableVersionInfoKey, offer.without(missing));
    job = std::make_shared<Job>(world.reference(), item.without(missing));
    job->setDelegate(std::shared_ptr<KQRWAppInstallerDelegate>(alive, this));
    statuses.clear();
  }
  /// Sees the job through; the lines after its start.
  std::string run() {
    job->start();
    world.threads.waitForAll(world.loop);
    return linesAfterStart();
  }
  std::string linesAfterStart() {
    const std::string lines = journal.take();
    EXPECT_TRUE(lines.starts_with("1 start\n"));
    return lines.substr(8);
  }
  void startAndHoldAt(const std::string& line) {
    journal.hold(line);
    job->start();
    ASSERT_TRUE(world.loop.runUntil([&] { return journal.waiting > 0; })) << line;
  }

  void appInstallerDidStart(KQRWAppUpdater&) override { journal.add("start"); }
  void appInstaller_didFinishSuccessfully(KQRWAppUpdater&, bool successfully) override {
    journal.add(successfully ? "success" : "failure", journal.thread());
  }
  void appInstallerFailedAndStoppedQueue(KQRWAppUpdater&) override {
    journal.add("interrupted", journal.thread());
  }
  void appInstallerDidUpdateStatus(KQRWAppUpdater& reporting) override {
    statuses.push_back(reporting.simpleCurrentAction());
  }

  FakePlatform world;
  Journal& journal = world.journal;
  FakeDownloads::File& file = world.downloads.files[kLink];
  std::shared_ptr<KQRWAppUpdater> job;
  std::vector<SimpleAction> statuses;
  const std::shared_ptr<void> alive = std::make_shared<int>();
};

}  // namespace revwarden
