#include "queue/kqrw_pellmark_updater.h"

#include "tests/core/job_fixture.h"

namespace revwarden {
namespace {

using testing::HasSubstr;

constexpr char kRelaunch[] =
    "10 notice Pellmark updated successfully! Would you like to relaunch it?\n10 success\n";
constexpr char kLaunch[] =
    "10 notice Pellmark updated successfully! Would you like to launch it?\n10 success\n";

class PellmarkTest : public JobTest {
 protected:
  PellmarkTest() {
    fake.makeArchive({"A.app"});
    make<KQRWPellmarkUpdater>();
  }
  std::string press() {
    const HostNotification notice = fake.host.shown.back();
    notice.target->performAction("somethingElse");
    notice.target->performAction(*notice.button1Action);
    fake.threads.waitForAll(fake.loop);
    return journal.take();
  }
};

TEST_F(PellmarkTest, OffersToRelaunchARunningProduct) {
  fake.machine.running = {"/Volumes/X/Pellmark.app", "/Applications/Pellmark.app"};
  EXPECT_THAT(run(), HasSubstr(kRelaunch)) << "before the end is reported";
  const HostNotification& offer = fake.host.shown.back();
  EXPECT_EQ(*offer.button1Text + *offer.button2Text, "RelaunchIgnore");
  EXPECT_EQ(offer.icon->value, *fake.host.productPath);
  journal.prefix = nullptr;
  job = nullptr;  // the notice keeps it alive
  const std::string script = "script tell application \"Pellmark\" to quit (in the background)\n";
  EXPECT_EQ(press(), script + "activate the product (in the background)\n");
  journal.failing = "script";
  EXPECT_EQ(press(), script + "log Could not shut down Pellmark: it failed\n");
}

TEST_F(PellmarkTest, OffersToLaunchUnlessTheJobFailed) {
  fake.machine.running = {"/Volumes/X/Pellmark.app"};
  EXPECT_THAT(run(), HasSubstr(kLaunch));
  EXPECT_EQ(fake.host.shown.back().button1Action, "activateHostApp");
  make<KQRWPellmarkUpdater>("downloadAndMount");
  EXPECT_THAT(run(), HasSubstr(std::string("10 success\n") + kLaunch));
  make<KQRWPellmarkUpdater>();
  startAndHoldAt("/usr/bin/unzip");
  fake.loop.post([this] { journal.release(); });
  job->cancel();
  EXPECT_THAT(linesAfterStart(), HasSubstr("Would you like to launch it?\n6 failure\n"));
  make<KQRWPellmarkUpdater>();
  journal.failing = "copy";
  EXPECT_THAT(run(), testing::Not(HasSubstr("Would you")));
}

}  // namespace
}  // namespace revwarden
