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
    world.machine.archives = {"/tmp/U.zip", "/home/u/Downloads/U.zip"};
    world.machine.folders["/tmp/U.unpacked"] = {"A.app"};
    world.disk.install("/tmp/U.unpacked/A.app", "2.0");
    make<KQRWPellmarkUpdater>();
  }
  std::string press() {
    const HostNotification notice = world.host.shown.back();
    notice.target->performAction("somethingElse");
    notice.target->performAction(*notice.button1Action);
    world.threads.waitForAll(world.loop);
    return journal.take();
  }
};

TEST_F(PellmarkTest, OffersToRelaunchARunningProduct) {
  world.machine.running = {"/Volumes/X/Pellmark.app", "/Applications/Pellmark.app"};
  EXPECT_THAT(run(), HasSubstr(kRelaunch)) << "before the end is told";
  const HostNotification& offer = world.host.shown.back();
  EXPECT_EQ(*offer.button1Text + *offer.button2Text, "RelaunchIgnore");
  EXPECT_EQ(offer.icon->value, *world.host.productPath);
  journal.prefix = nullptr;
  job = nullptr;  // the offer keeps it
  const std::string script = "script tell application \"Pellmark\" to quit (in the background)\n";
  EXPECT_EQ(press(), script + "activate the product (in the background)\n");
  journal.failing = "script";
  EXPECT_EQ(press(), script + "log Could not shut down Pellmark: it failed\n");
}

TEST_F(PellmarkTest, OffersToLaunchWhateverHappenedButAFailure) {
  world.machine.running = {"/Volumes/X/Pellmark.app"};
  EXPECT_THAT(run(), HasSubstr(kLaunch));
  EXPECT_EQ(world.host.shown.back().button1Action, "activateHostApp");
  make<KQRWPellmarkUpdater>("downloadAndMount");
  EXPECT_THAT(run(), HasSubstr(std::string("10 success\n") + kLaunch));
  make<KQRWPellmarkUpdater>();
  startAndHoldAt("/usr/bin/unzip");
  world.loop.post([this] { journal.release(); });
  job->cancel();
  EXPECT_THAT(linesAfterStart(), HasSubstr("Would you like to launch it?\n6 failure\n"));
  make<KQRWPellmarkUpdater>();
  journal.failing = "copy";
  EXPECT_THAT(run(), testing::Not(HasSubstr("Would you")));
}

}  // namespace
}  // namespace revwarden
