#include "tests/core/job_fixture.h"
#include "updater/new_application.h"

namespace revwarden {
namespace {

constexpr char kUnzipped[] = "6 /usr/bin/unzip -q -o /tmp/U.zip -d /tmp/U.unpacked\n";
constexpr char kFailed[] = "12 notice Failed to update application A\n12 failure\n";
constexpr char kDetached[] = " /usr/bin/hdiutil detach /Volumes/hidden\n";
constexpr char kHidden[] = "-nobrowse -noautofsck -noautoopen";

class InstallationTest : public JobTest {
 protected:
  std::string install(const std::string& name, bool withRights = false, const char* failing = "") {
    file.name = name;
    make();
    if (withRights) job->setRootTask(std::make_shared<FakeMachine::Other>(journal));
    journal.failing = failing;
    return run();
  }
  static std::string attached(const std::string& action, const std::string& path,
                              const std::string& how) {
    return action + " /usr/bin/hdiutil attach " + path + " -plist " + how +
           " PAGER=/usr/bin/true < y\n > read\n";
  }
  /// The lines for a file that is not an archive.
  static std::string attachedAsItIs(const std::string& name) {
    return "6 /usr/bin/unzip -q -o /tmp/" + name + " -d /tmp/U.unpacked\n" +
           "6 remove /tmp/U.unpacked\n" + attached("7", "/tmp/" + name, kHidden);
  }
};

TEST_F(InstallationTest, ApplicationInAnArchiveReplacesTheOldOne) {
  fake.makeArchive({"Read me", "Setup.pkg", "A.app"});
  for (const bool withRights : {false, true}) {
    const std::string who = withRights ? "root " : "";
    const std::string moved = std::string(kUnzipped) + "8 expect removal of org.example.A\n8 " +
                              who + "trash /Applications/A.app\n";
    const std::string copied =
        moved + "9 " + who + "copy /tmp/U.unpacked/A.app to /Applications/A.app\n";
    EXPECT_EQ(install("U.zip", withRights), copied + "10 success\n");
    EXPECT_EQ(install("U.zip", withRights, withRights ? "root t" : "t"), moved + kFailed);
    EXPECT_EQ(install("U.zip", withRights, withRights ? "root c" : "c"), copied + kFailed)
        << "the old application stays in the Trash";
  }
  EXPECT_EQ(job->resourcesPath(), "/tmp/U.unpacked");
  fake.machine.hasUninstaller = false;
  EXPECT_TRUE(install("U.zip").ends_with("success\n")) << "there is no such agent";
}

TEST_F(InstallationTest, ApplicationInAnImageReplacesTheOldOne) {
  const std::string replaced =
      "8 expect removal of org.example.A\n8 trash /Applications/A.app\n"
      "9 copy /Volumes/hidden/A.app to /Applications/A.app\n10" +
      std::string(kDetached) + "10 success\n";
  fake.makeImage("/tmp/U.dmg", {"A.app"});
  EXPECT_EQ(install("U.dmg"), attachedAsItIs("U.dmg") + replaced);
  fake.makeArchive({"dmg", "\xFF.dmg", "A.app", "FOO.DMG", "b.dmg"});
  fake.makeImage("/tmp/U.unpacked/FOO.DMG", {"A.app"});
  EXPECT_EQ(install("U.zip"),
            kUnzipped + attached("7", "/tmp/U.unpacked/FOO.DMG", kHidden) + replaced);
}

TEST_F(InstallationTest, PackageInAnImageIsOpenedForTheUser) {
  fake.makeImage("/tmp/U.dmg", {"Read me", "My Setup.mpkg", "Z.pkg"});
  const std::string shown = attachedAsItIs("U.dmg") + "8" + kDetached +
                            attached("8", "/tmp/U.dmg", "-noautoopen") +
                            "8 open file:///Volumes/hidden/My%20Setup.mpkg\n";
  EXPECT_EQ(install("U.dmg", true), shown + "10 success\n");
  EXPECT_EQ(install("U.dmg", true, "open"), shown + "12 open file:///Volumes/seen\n" + kFailed);
  fake.makeImage("/tmp/U.dmg", {"Read me"});
  EXPECT_EQ(install("U.dmg"), attachedAsItIs("U.dmg") + "12" + kDetached +
                                  attached("12", "/tmp/U.dmg", "-noautoopen") +
                                  attached("12", "/tmp/U.dmg", "-autoopen") + kFailed)
      << "the image is opened for the user";
}

TEST_F(InstallationTest, PackageRunsOnlyWithAdministratorRights) {
  const std::string ran =
      attachedAsItIs("U.pkg") + "8 root runScript /plugin/installPkg /tmp/U.pkg\n";
  EXPECT_EQ(install("U.pkg", true), ran + "10 success\n");
  EXPECT_EQ(statuses.size(), 7u) << "the end is not among the statuses";
  EXPECT_EQ(
      install("U.pkg", true, "root"),
      ran + "8 KQLog Update package from /tmp/U.pkg failed with error it failed.\n" + kFailed);
  EXPECT_EQ(statuses.size(), 7u);
  EXPECT_EQ(install("U.pkg"), attachedAsItIs("U.pkg") + "8 success\n");
  fake.makeArchive({"Setup.pkg"});
  EXPECT_EQ(install("U.zip", true), std::string(kUnzipped) + "8 success\n") << "found, but not run";
  EXPECT_EQ(statuses.size(), 7u);
  EXPECT_EQ(install("U.bin"), attachedAsItIs("U.bin") + kFailed);
}

TEST_F(InstallationTest, OtherMethodsShowTheDownloadToTheUser) {
  make("downloadOnly");
  EXPECT_EQ(run(), "5 select /home/u/Downloads/U.zip in /home/u/Downloads\n10 success\n");
  const auto mountedAt = [](const std::string& path) {
    return "6 log [RWInstaller] Install method requires to mount image (path=" + path +
           ") and finish install.\n10 success\n10 success\n";
  };
  fake.machine.images = {"/home/u/Downloads/U.zip"};
  make("downloadAndMount");
  EXPECT_TRUE(run().ends_with(attached("6", "/home/u/Downloads/U.zip", "-autoopen") +
                              mountedAt("/Volumes/seen")));
  fake.machine.archives = fake.machine.images;
  make("downloadAndMount");
  EXPECT_TRUE(run().ends_with("U.unpacked\n" + mountedAt("(null)"))) << "the archive has no image";
  file.name.reset();
  fake.machine.downloads.clear();
  make("Auto");
  run();
  EXPECT_EQ(job->downloadPath(), "/home/u/Downloads/A.dat");
}

TEST(NewApplicationTest, PrefersIdentifierToBundleNameToFileName) {
  FakeDisk disk;
  for (const char* path : {"/id", "/id2.app"}) disk.install(path, "1", "B", "org.example.A");
  for (const char* path : {"/n1.app", "/n2.app"}) disk.install(path, "1", "A", "other");
  disk.install("/A.app", "1", std::nullopt, "other");
  disk.bundles["/none.app"] = std::make_shared<const Bundle>();
  const auto found = [&](std::vector<std::string> paths, std::optional<std::string> id) {
    return newApplicationAmong(disk, paths, {std::move(id), "A"}).value_or("");
  };
  EXPECT_EQ(found({"/A.app", "/n1.app", "/id", "/id2.app"}, "org.example.A"), "/id")
      << "although it is not an application";
  EXPECT_EQ(found({"/A.app", "/n1.app", "/n2.app", "/A.app"}, "org.example.A"), "/n2.app");
  EXPECT_EQ(found({"/x.app", "/A.app", "/r/A.app", "/a.app"}, "org.example.A"), "/A.app");
  EXPECT_EQ(found({"/none.app", "/A.app"}, std::nullopt), "/A.app")
      << "absent identifiers do not match";
}

}  // namespace
}  // namespace revwarden
