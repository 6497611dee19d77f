#pragma once

#include "tests/core/agent_fixture.h"
#include "updater/kqrw_app_updater.h"

namespace revwarden {

/// Tests of one update job on a fake platform. The journal has what the job does and the events of
/// its delegate except the status, each after the number of the job's step.
class JobTest : public testing::Test, protected KQRWAppInstallerDelegate {
 protected:
  static constexpr char kLink[] = "http://x/U";

  JobTest() {
    journal.prefix = [this] {
      return std::to_string(static_cast<int64_t>(job->currentAction())) + " ";
    };
    fake.log.onLine = [this](const std::string& line) { journal.add(line); };
    fake.host.onShow = [this](const HostNotification& notice) {
      journal.add("notice", *notice.text, journal.thread());
    };
  }
  void TearDown() override { fake.threads.waitForAll(fake.loop); }

  template <typename Job = KQRWAppUpdater>
  void make(const char* method = "auto", const char* link = kLink, const char* missing = "") {
    const Dictionary offer = {{kKQRWIDownloadLinkKey, link}, {kKQRWIUpdateMethodKey, method}};
    const Dictionary item = record("a", "/Applications/A.app")
                                .with(kKQRWAvailableVersionInfoKey, offer.without(missing));
    job = std::make_shared<Job>(fake.reference(), item.without(missing));
    job->setDelegate(std::shared_ptr<KQRWAppInstallerDelegate>(alive, this));
    statuses.clear();
  }
  /// Runs the job to its end. Returns the lines after its start.
  std::string run() {
    job->start();
    fake.threads.waitForAll(fake.loop);
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
    ASSERT_TRUE(fake.loop.runUntil([&] { return journal.waiting > 0; })) << line;
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

  FakePlatform fake;
  Journal& journal = fake.journal;
  FakeDownloads::File& file = fake.downloads.files[kLink];
  std::shared_ptr<KQRWAppUpdater> job;
  std::vector<SimpleAction> statuses;
  const std::shared_ptr<void> alive = std::make_shared<int>();
};

}  // namespace revwarden
