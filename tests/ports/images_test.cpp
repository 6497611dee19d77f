#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <future>

#include "base/text.h"
#include "ports/linux/files/temporary_folder.h"
#include "ports/linux/processes/linux_child_processes.h"
#include "ports/linux/property_lists/property_list.h"
#include "ports/posix/file_descriptor.h"
#include "tests/fakes/opened_addresses.h"
#include "tests/fakes/scratch_folder.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;
using std::chrono_literals::operator""s;
using testing::IsEmpty;

class ImagesTest : public testing::Test {
 protected:
  ImagesTest() {
    signal(SIGPIPE, SIG_IGN);
    scratch_.write("My Vol/Foo.app/Contents/Info.plist", "<plist/>");
    scratch_.write("My Vol/Foo.app/Contents/MacOS/run", "#!/bin/sh\n");
    chmod(scratch_.file("My Vol/Foo.app/Contents/MacOS/run").c_str(), 0755);
    link("My Vol/Foo.app/Contents/back", "../Contents/MacOS/run");
    link("My Vol/Applications", "/Applications");
  }
  ~ImagesTest() override {
    for (const std::string& mountPoint : mountPoints_) hdiutil({"detach", mountPoint});
  }

  void link(const std::string& name, const std::string& target) {
    fs::create_symlink(target, scratch_.file(name));
  }
  std::string make(const std::string& kind, const std::string& name,
                   std::vector<std::string> folders = {"My Vol"}) {
    std::vector<std::string> words = {MAKE_IMAGES, kind};
    for (const std::string& folder : folders) words.push_back(scratch_.file(folder));
    words.push_back(scratch_.file(name));
    const auto made = children_.run({"/usr/bin/python3", words, {}, {}, false});
    EXPECT_EQ(made.value_or(ChildProcesses::Completion()).exitStatus, 0) << kind;
    return words.back();
  }
  ChildProcesses::Completion hdiutil(std::vector<std::string> arguments) {
    ChildProcess child{"/usr/bin/hdiutil", std::move(arguments), {}, "y\n", true};
    child.environment = std::map<std::string, std::string>{{"PAGER", "/usr/bin/true"}};
    return children_.run(child).value_or(ChildProcesses::Completion{-1, "", ""});
  }
  // Returns the mount points; none after a failure.
  std::vector<std::string> attach(const std::string& image) {
    const auto answer =
        hdiutil({"attach", image, "-plist", "-nobrowse", "-noautofsck", "-noautoopen"});
    std::vector<std::string> mountPoints;
    const auto list = LinuxPropertyLists().propertyListFromData(answer.output);
    EXPECT_EQ(answer.exitStatus, list ? 0 : 1);
    if (!list) return {};
    const Array entities = list->as<Dictionary>()->arrayFor("system-entities").value();
    for (const Value& entity : entities) {
      mountPoints.push_back(*entity.as<Dictionary>()->stringFor("mount-point"));
    }
    mountPoints_.insert(mountPoints_.end(), mountPoints.begin(), mountPoints.end());
    return mountPoints;
  }

  ScratchFolder scratch_;
  OpenedAddresses workspace_;
  LinuxChildProcesses children_{{std::nullopt, TOOLS}, workspace_};
  std::vector<std::string> mountPoints_;
};

TEST_F(ImagesTest, ContainWhatAMountedVolumeWould) {
  for (const std::string kind : {"dmg", "hfs", "iso"}) {
    const std::string image = make(kind, "Söme?*." + kind);
    const std::vector<std::string> mountPoints = attach(image);
    ASSERT_EQ(mountPoints.size(), 1u) << kind;
    const std::string volume = mountPoints[0];
    EXPECT_EQ(lastPathComponent(volume), kind == "iso" ? "Söme?*" : "My Vol");
    const std::string app = volume + "/Foo.app";
    EXPECT_TRUE(fs::exists(app + "/Contents/back")) << kind;
    EXPECT_EQ(fs::read_symlink(volume + "/Applications"), "/Applications");
    for (const auto& [path, mode] : {std::pair(volume, 0555),
                                     {app + "/Contents", 0555},
                                     {app + "/Contents/Info.plist", 0444},
                                     {app + "/Contents/MacOS/run", 0555}}) {
      EXPECT_EQ(fs::status(path).permissions(), fs::perms(mode)) << path;
    }
    EXPECT_EQ(attach(image), mountPoints);  // already attached
    EXPECT_EQ(hdiutil({"detach", volume}).exitStatus, 0);
    EXPECT_FALSE(fs::exists(volume));
  }
  EXPECT_THAT(workspace_.addresses, IsEmpty());
}

TEST_F(ImagesTest, HaveAMountPointForEachPartitionAndEachState) {
  scratch_.write("Guides/a.pdf", "%PDF");
  const std::string image = make("dmg", "x.dmg", {"My Vol", "Guides"});
  hdiutil({"attach", image, "-plist", "-autoopen"});
  const std::vector<std::string> mountPoints = attach(image);
  ASSERT_EQ(mountPoints.size(), 2u);
  EXPECT_THAT(workspace_.addresses, testing::ElementsAre(fileURLWithPath(mountPoints[0])));
  EXPECT_TRUE(fs::exists(mountPoints[0] + "/a.pdf"));
  EXPECT_TRUE(fs::is_symlink(mountPoints[1] + "/Applications"));
  make("dmg", "x.dmg", {"Guides"});
  EXPECT_NE(attach(image)[0], mountPoints[0]);
}

TEST_F(ImagesTest, ContainNoLinksOutOfTheVolume) {
  scratch_.write("secret/file", "");
  const std::string secret = scratch_.file("secret");
  link("My Vol/Other", secret);
  link("My Vol/Foo.app/Applications", "/Applications");
  link("My Vol/Foo.app/out", "../../../../../../../../etc/passwd");
  link("My Vol/Foo.app/chain", "deep/up/../../..");
  link("My Vol/Foo.app/inside", "Contents/..");
  link("My Vol/Foo.app/nothing", "missing");
  scratch_.write("My Vol/Foo.app/deep/file", "");
  link("My Vol/Foo.app/deep/up", "../..");
  const std::vector<std::string> mountPoints = attach(make("iso", "x.iso"));
  ASSERT_EQ(mountPoints.size(), 1u);
  std::vector<std::string> links;
  for (const auto& entry : fs::recursive_directory_iterator(mountPoints[0])) {
    if (entry.is_symlink()) links.push_back(entry.path().filename());
  }
  EXPECT_THAT(links,
              testing::UnorderedElementsAre("Applications", "back", "inside", "nothing", "up"));

  for (const std::string& path : {secret, mountPoints[0] + "/Foo.app", mountPoints[0] + "/../../x",
                                  mountPoints[0] + "/..", std::string("/"), std::string()}) {
    EXPECT_EQ(hdiutil({"detach", path}).exitStatus, 1) << path;
  }
  EXPECT_TRUE(fs::exists(secret + "/file"));
  EXPECT_TRUE(fs::exists(mountPoints[0] + "/Foo.app"));
}

TEST_F(ImagesTest, AreRefusedIfDamagedOrUnknown) {
  make("dmg", "whole.dmg");
  make("iso", "whole.iso");
  const std::string dmg = scratch_.read("whole.dmg");
  std::string damaged = dmg;
  damaged[200] = static_cast<char>(~damaged[200]);
  // HFS+ keeps the files of hard links in a hidden folder.
  scratch_.write("My Vol/AAAAHFS+ Private Data/iNode20", "linked");
  std::string linked = (make("hfs", "linked.hfs"), scratch_.read("linked.hfs"));
  const std::string name("\0A\0A\0A\0A\0H\0F\0S", 14);
  for (size_t at = 0; (at = linked.find(name, at)) != linked.npos;) linked.replace(at, 8, 8, '\0');
  for (const auto& [image, bytes] : {std::pair("damaged.dmg", damaged),
                                     {"headless.dmg", dmg.substr(dmg.size() / 2)},
                                     {"cut.dmg", dmg.substr(0, dmg.size() / 2)},
                                     {"cut.iso", scratch_.read("whole.iso").substr(0, 60000)},
                                     {"empty.dmg", ""},
                                     {"archive.dmg", "PK\3\4 and so on"},
                                     {"linked.hfs", linked}}) {
    scratch_.write(image, bytes);
    EXPECT_THAT(attach(scratch_.file(image)), IsEmpty()) << image;
  }
  mkfifo(scratch_.file("fifo.dmg").c_str(), 0600);
  EXPECT_TRUE(attach(scratch_.file("fifo.dmg")).empty() && attach(scratch_.file("gone")).empty());
}

TEST_F(ImagesTest, AreWholeAfterAKilledToolAndWithConcurrentTools) {
  const std::string volumes = *temporaryFolderOfUser() + "/volumes";
  fs::resize_file((scratch_.write("My Vol/large", ""), scratch_.file("My Vol/large")), 100 << 20);
  const std::string image = make("iso", "x.iso");
  LinuxChildProcesses killed({std::nullopt, TOOLS}, workspace_);
  auto job = std::async([&] {
    return killed.run({"hdiutil", {"attach", image, "-plist"}, {}, {}, true})->exitStatus;
  });
  while (!fs::exists(volumes + "/.half") && job.wait_for(0s) != std::future_status::ready) {
  }
  killed.endAll();
  EXPECT_THAT(job.get(), testing::AnyOf(128 + SIGKILL, 0));  // 0 if it was faster
  {
    const FileDescriptor folder(open(volumes.c_str(), O_RDONLY | O_CLOEXEC));
    flock(folder.get(), LOCK_EX);  // no other tool unpacks an image now
    fs::create_directories(volumes + "/.half/x");
    fs::create_directories(volumes + "/earlier-start");
  }
  auto other = std::async([&] { return hdiutil({"attach", image, "-plist"}); });
  const std::vector<std::string> mountPoints = attach(image);
  EXPECT_EQ(other.get().output, hdiutil({"attach", image, "-plist"}).output);
  ASSERT_EQ(mountPoints.size(), 1u);
  EXPECT_EQ(fs::file_size(mountPoints[0] + "/large"), 100u << 20);
  EXPECT_FALSE(fs::exists(volumes + "/earlier-start"));
}

}  // namespace
}  // namespace revwarden
