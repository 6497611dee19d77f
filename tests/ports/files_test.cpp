#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <random>

#include "base/text.h"
#include "ports/linux/bundles/application_search.h"
#include "ports/linux/files/linux_file_manager.h"
#include "ports/linux/files/temporary_folder.h"
#include "tests/fakes/scratch_folder.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;

// A scratch folder with HOME inside it, accessible to all users.
class FilesTest : public testing::Test {
 protected:
  FilesTest() {
    chmod(scratch_.path().c_str(), 0755);
    folder("home");
    setenv("HOME", at("home").c_str(), 1);
    unsetenv("XDG_DATA_HOME");
  }

  std::string at(const std::string& path) const { return scratch_.file(path); }
  std::string folder(const std::string& path) {
    fs::create_directories(at(path));
    return at(path);
  }
  std::string link(const std::string& path, const std::string& target) {
    fs::create_symlink(target, at(path));
    return at(path);
  }

  std::unique_ptr<PathInspector> newInspector(std::vector<std::string> volumes = {}) {
    files_.emplace(std::move(volumes), "");
    return files_->inspectorForPass();
  }

  // Runs the body in a child process, which may change its user and mounts. Returns true if no
  // expectation failed.
  static bool inChild(const std::function<void()>& body) {
    const pid_t child = fork();
    if (child == 0) {
      body();
      fflush(nullptr);
      _exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && status == 0;
  }

  const ScratchFolder scratch_;
  std::optional<LinuxFileManager> files_;
};

TEST_F(FilesTest, ResolvesPathsAsTheSystemDoes) {
  std::mt19937 random(20240711);
  using Names = std::vector<std::string>;
  const auto any = [&](const Names& list) { return list[random() % list.size()]; };
  const Names names = {"a", "b", "line\nbreak", "bad\xFF", "caf\xC3\xA9.app"};
  const Names targets = {"a", "../b", "b/", "../../a/b", "bad\xFF", "./a//."};
  Names folders = {scratch_.path()};
  for (int i = 0; i < 120; ++i) {
    const std::string place = any(folders) + "/" + any(names);
    const std::string target = random() % 2 ? any(targets) : any(folders) + "/" + any(targets);
    std::error_code taken;
    if (random() % 5 < 2) {
      fs::create_symlink(target, place, taken);
    } else if (random() % 3 == 0) {
      std::ofstream(place) << "x";
    } else if (fs::create_directory(place, taken)) {
      folders.push_back(place);
    }
  }
  int existing = 0;
  std::unique_ptr<PathInspector> inspector;
  for (int i = 0; i < 10000; ++i) {
    if (i % 200 == 0) inspector = newInspector();
    std::string path = any(folders);
    for (unsigned n = random() % 5; n > 0; --n) {
      path += any({"/", "//", "/./"}) + (random() % 3 ? any(names) : any({"..", "", "."}));
    }
    char real[PATH_MAX];
    std::optional<std::string> expected;
    if (realpath(path.c_str(), real) && isValidUtf8(real)) expected = real;
    EXPECT_EQ(inspector->resolvedPath(path), expected) << path;
    EXPECT_EQ(inspector->fileExistsAtPath(path), access(path.c_str(), F_OK) == 0) << path;
    existing += expected.has_value();
  }
  EXPECT_GT(existing, 1000);
}

TEST_F(FilesTest, RecognizesTrashAndPackagesByThePath) {
  setenv("XDG_DATA_HOME", link("data", folder("real-data")).c_str(), 1);
  folder("volume");
  link("inside", folder("Suite.APP/Contents"));
  const auto inspector = newInspector({link("named", "volume")});
  for (const char* path : {"data/Trash/files/A.app", "real-data/Trash/A.app", "home/.Trash/A.app",
                           "volume/.Trash-1000/files/A.app", "named/.Trashes/A"})
    EXPECT_TRUE(inspector->isFileWithPathInTrash(at(path))) << path;
  for (const char* path : {"real-data/Trash", "real-data/Trash2/A.app", "volume/.Trash-me/A.app",
                           "volume/x/.Trash/A.app", "home/.local/share/Trash/A.app"}) {
    EXPECT_FALSE(inspector->isFileWithPathInTrash(folder(path))) << path;
  }
  for (const char* path : {"Suite.APP/Contents/B.app", "P.prefPane/x", "a.mpkg/x/y", "inside"})
    EXPECT_TRUE(inspector->pathIsContentOfPackage(at(path))) << path;
  for (const char* path : {"Suite.APP", "notes.txt/x", ".app/x", "Suite.APP/../y"}) {
    EXPECT_FALSE(inspector->pathIsContentOfPackage(at(path))) << path;
  }
}

TEST_F(FilesTest, TreatsGivenFoldersAsVolumesAndJudgesMissingPathsByTheirFolder) {
  const std::string volume = folder("volume"), app = volume + "//Library/./A.app";
  const auto inspector = newInspector({at("absent"), volume});
  EXPECT_EQ(inspector->localVolumePathFromFullPath(app), "/Library/A.app");
  EXPECT_EQ(inspector->localVolumePathFromFullPath(volume), "/");
  EXPECT_FALSE(inspector->pathIsOnSystemVolume(app));
  EXPECT_TRUE(inspector->isPathOnStorageDevice(volume));
  EXPECT_EQ(inspector->localVolumePathFromFullPath(at("volumes/A.app")), at("volumes/A.app"));
  EXPECT_TRUE(inspector->pathIsOnSystemVolume(at("volumes/A.app")));
  EXPECT_FALSE(inspector->isPathOnStorageDevice("/proc/nothing/A.app"));
  EXPECT_FALSE(inspector->isPathOnStorageDevice("") || inspector->pathIsOnSystemVolume("./x"));
}

TEST_F(FilesTest, NoticesMountsAsTheyComeAndGo) {
  const auto haveOwnMounts = [] {
    if (unshare(CLONE_NEWNS) || mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr)) _exit(1);
  };
  if (!inChild(haveOwnMounts)) GTEST_SKIP() << "needs the right to mount in its own namespace";
  const std::string disk = folder("a disk");
  EXPECT_TRUE(inChild([&] {
    haveOwnMounts();
    LinuxFileManager files({}, "");
    const std::string app = disk + "/Developer/A.app";
    EXPECT_TRUE(files.inspectorForPass()->pathIsOnSystemVolume(app));
    ASSERT_EQ(mount("none", disk.c_str(), "tmpfs", 0, nullptr), 0);
    const auto inspector = files.inspectorForPass();
    EXPECT_FALSE(inspector->pathIsOnSystemVolume(app));
    EXPECT_TRUE(inspector->isPathOnStorageDevice(app));
    folder("a disk/Developer/A.app");
    EXPECT_EQ(inspector->localVolumePathFromFullPath(app), "/Developer/A.app");
    EXPECT_FALSE(files.isMovableFileAtPath(disk));  // a mount point
    EXPECT_TRUE(files.isMovableFileAtPath(app));
    ASSERT_EQ(umount(disk.c_str()), 0);
    EXPECT_TRUE(files.inspectorForPass()->pathIsOnSystemVolume(app));
  }));
}

TEST_F(FilesTest, MovableIsWhatTheUserMayRename) {
  if (geteuid() != 0) GTEST_SKIP() << "needs two users";
  for (const char* path : {"shared", "sticky"}) {
    folder(path + std::string("/theirs"));
    const std::string mine = folder(path + std::string("/mine"));
    ASSERT_EQ(chown(mine.c_str(), kNobody, kNobody), 0);
  }
  chmod(at("shared").c_str(), 0777);
  chmod(at("sticky").c_str(), 01777);
  folder("closed/A.app"), folder("locked/A.app");
  chmod(at("locked").c_str(), 0700);
  LinuxFileManager files({}, "");
  EXPECT_TRUE(files.isMovableFileAtPath(at("sticky/mine")));  // root may move anything
  EXPECT_TRUE(inChild([&] {
    ASSERT_EQ(setgid(kNobody) | setuid(kNobody), 0);
    for (const char* path : {"shared/theirs", "shared/mine/", "sticky/mine"})
      EXPECT_TRUE(files.isMovableFileAtPath(at(path))) << path;
    for (const char* path : {"sticky/theirs", "closed/A.app", "locked/A.app", "shared/none"})
      EXPECT_FALSE(files.isMovableFileAtPath(at(path))) << path;
    EXPECT_FALSE(makePrivateFolder(at("shared/theirs")));  // of another user
  }));
}

TEST_F(FilesTest, TheTemporaryFolderIsPrivate) {
  chmod(folder("made").c_str(), 0755);
  EXPECT_TRUE(makePrivateFolder(at("made")));
  EXPECT_EQ(fs::status(at("made")).permissions(), fs::perms::owner_all);
  chmod(at("made").c_str(), 0770);
  EXPECT_FALSE(makePrivateFolder(at("made")));
  EXPECT_FALSE(makePrivateFolder(link("link", folder("elsewhere"))));

  setenv("TMPDIR", at("home").c_str(), 1);
  {
    const Result<TemporaryFolder> first = takeTemporaryFolder();
    EXPECT_EQ(first->path, at("home"));
    EXPECT_EQ(takeTemporaryFolder()->path, at("home/agent-2")) << "the first is taken";
  }
  EXPECT_EQ(takeTemporaryFolder()->path, at("home"));
  setenv("TMPDIR", folder("open").c_str(), 1);
  chmod(at("open").c_str(), 01777);
  EXPECT_EQ(takeTemporaryFolder()->path, at("open/revwarden-") + std::to_string(geteuid()));
  unsetenv("TMPDIR");
}

TEST_F(FilesTest, FindsEachBundleOnceAndNoNestedOnes) {
  for (const char* path :
       {"A.app/Contents/Helper.app", "sub/deep/B.APP", "Kit.framework/C.app", "bad\xFF.app",
        ".app/Hidden.app", "../outside/D.app/Inner", "../outside/E.app"})
    folder("apps/" + std::string(path));
  std::ofstream(at("apps/File.app")) << "x";
  link("apps/sub/up", "..");
  link("apps/out", "../outside");
  link("apps/F.app", "../outside/D.app");
  link("apps/Other", "../outside/E.app");
  link("named", "apps");
  std::vector<std::string> found =
      applicationBundlesBelow({at("named"), at("apps"), at("missing"), at("apps")});
  for (std::string& path : found) path = fs::path(path).filename();
  EXPECT_THAT(found, testing::UnorderedElementsAre("A.app", "B.APP", "Hidden.app", "D.app", "E.app",
                                                   "F.app", "Other"));
}

}  // namespace
}  // namespace revwarden
