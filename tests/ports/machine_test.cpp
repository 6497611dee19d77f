#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "ports/linux/desktop/logind_wake.h"
#include "ports/linux/loop/glib_run_loop.h"
#include "ports/linux/system/system_information.h"
#include "ports/posix/system_clock.h"
#include "tests/fakes/eventually.h"
#include "tests/fakes/mocked_bus.h"
#include "tests/fakes/scratch_folder.h"

namespace revwarden {
namespace {

bool announce(const MockedBus& bus, const std::string& goesToSleep) {
  return bus.call("org.freedesktop.login1", "/org/freedesktop/login1", "Mock.EmitSignal",
                  "org.freedesktop.login1.Manager PrepareForSleep b '[<" + goesToSleep + ">]'") ==
         "()";
}

bool someoneListens(const MockedBus& bus) {
  return bus.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "Debug.Stats.GetAllMatchRules")
             .find("PrepareForSleep") != std::string::npos;
}

TEST(LogindWakeTest, ReportsEachWakeUntilTheObservationEnds) {
  const MockedBus bus("system", "logind");
  const auto loop = GLibRunLoop::create();
  auto wake = LogindWake::create();
  std::atomic<int> first = 0, second = 0;
  std::unique_ptr<Observation> once, always;
  once = wake->observeDidWake([&] { ++first, once.reset(); });
  always = wake->observeDidWake([&] { ++second; });
  std::thread story([&] {
    EXPECT_TRUE(eventually([&] { return someoneListens(bus) && announce(bus, "true"); }));
    for (const char* goesToSleep : {"false", "true", "false"})
      EXPECT_TRUE(announce(bus, goesToSleep));
    EXPECT_TRUE(eventually([&] { return second >= 2; }));
    loop->postAndWait([&] { wake.reset(); });
    EXPECT_TRUE(eventually([&] { return !someoneListens(bus); }));
    loop->end();
  });
  loop->run();
  story.join();
  EXPECT_EQ(second, 2) << "sleep is not reported";
  EXPECT_EQ(first, 1);
}

TEST(SystemInformationTest, ReadsFirmwareDistributionAndKernel) {
  const ScratchFolder folder;
  const auto with = [&](const char* serial, const char* machine = "i686") {
    folder.write("serial", serial);
    return LinuxSystemInformation({}, {folder.file("serial"), machine});
  };
  EXPECT_EQ(with(" PF2ABC1-x \n").computerSerialNumber(), "PF2ABC1-x");
  for (const char* unknown : {" \n", "None\n", "To be filled by O.E.M.\n", "000-0", "\xff\n"})
    EXPECT_EQ(with(unknown).computerSerialNumber(), std::nullopt) << unknown;
  EXPECT_GT(with("").systemVersionString().size(), sizeof "Linux");
  EXPECT_TRUE(with("", "ppc64le").isPowerPC() && with("", "aarch64").is64BitCapable());
  EXPECT_FALSE(with("").isPowerPC() || with("").is64BitCapable());
}

}  // namespace
}  // namespace revwarden
