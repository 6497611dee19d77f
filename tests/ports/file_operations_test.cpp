#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

#include "ports/linux/files/linux_file_operations.h"
#include "ports/linux/files/trash.h"
#include "ports/posix/copy_tree.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/remove_tree.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/scratch_folder.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;

constexpr uid_t kNobody = 65534;

// Everything that a copy must preserve, one line for each entry.
std::set<std::string> description(const std::string& top) {
  std::set<std::string> lines;
  const auto add = [&](const fs::path& path) {
    struct stat facts {};
    if (lstat(path.c_str(), &facts) != 0 || S_ISFIFO(facts.st_mode)) return;
    std::stringstream line;
    line << path.lexically_relative(top) << std::oct << ' ' << facts.st_mode << std::dec << ' '
         << facts.st_mtim.tv_sec << '.' << facts.st_mtim.tv_nsec;
    char note[100];
    const ssize_t size = lgetxattr(path.c_str(), "user.note", note, sizeof note);
    if (size > 0) line << " note " << std::string(note, size);
    if (S_ISLNK(facts.st_mode)) line << " to " << fs::read_symlink(path);
    if (S_ISREG(facts.st_mode)) {
      std::ifstream in(path, std::ios::binary);
      line << (facts.st_blocks * 1024 < facts.st_size ? " in pieces " : " holds ")
           << std::hash<std::string>()({std::istreambuf_iterator<char>(in), {}});
    }
    lines.insert(line.str());
  };
  add(top);
  if (fs::is_symlink(top) || !fs::is_directory(top)) return lines;
  for (const auto& entry : fs::recursive_directory_iterator(top)) add(entry.path());
  return lines;
}

std::vector<std::string> namesIn(const std::string& folder) {
  return LinuxFileOperations().contentsOfDirectoryAtPath(folder);
}

// World-writable folders on two file systems, with the user's folders in the first. Tests that need
// another user, limits, or GLib to read the environment run in a child process.
class FileOperationsTest : public testing::Test {
 protected:
  FileOperationsTest() {
    for (const ScratchFolder* folder : {&root_, &memory_}) chmod(folder->path().c_str(), 0777);
    fs::create_directory(at("home"));
    setenv("HOME", at("home").c_str(), 1);
    setenv("XDG_DATA_HOME", at("data").c_str(), 1);
  }
  ~FileOperationsTest() override {
    EXPECT_TRUE(removeTree(root_.path()) && removeTree(memory_.path()));
  }

  std::string at(const std::string& path) const { return root_.file(path); }
  std::string in(const std::string& path) const { return memory_.file(path); }

  static std::string makeApplication(const ScratchFolder& folder, const std::string& name) {
    const std::string contents = folder.file(name) + "/Contents";
    folder.write(name + "/Contents/MacOS/run", "program");
    folder.write(name + "/Contents/locked/na\xFFme\n", std::string(300'000, 'x'));
    folder.write(name + "/Contents/hidden", "");
    folder.write(name + "/Contents/sparse", "start");
    fs::resize_file(contents + "/sparse", 1 << 20);
    std::fstream(contents + "/sparse", std::ios::in | std::ios::out).seekp(1 << 19) << "middle";
    fs::create_directories(contents + "/empty");
    fs::create_symlink("../../../home", contents + "/out");
    fs::create_symlink("nowhere", contents + "/dangling");
    mkfifo((contents + "/fifo").c_str(), 0600);
    setxattr(contents.c_str(), "user.note", "folder", 6, 0);
    setxattr((contents + "/hidden").c_str(), "user.note", "file", 4, 0);
    chmod((contents + "/MacOS/run").c_str(), 06775);
    chmod((contents + "/hidden").c_str(), 0400);
    const timespec times[] = {{1'000'000'000, 123'456'789}, {1'100'000'000, 987'654'321}};
    for (const char* entry : {"/out", "/MacOS/run", "/locked", ""}) {
      utimensat(AT_FDCWD, (contents + entry).c_str(), times, AT_SYMLINK_NOFOLLOW);
    }
    chmod((contents + "/locked").c_str(), 0555);
    chmod(folder.file(name).c_str(), 0555);
    return folder.file(name);
  }

  static pid_t start(const std::function<void()>& body) {
    const pid_t child = fork();
    if (child != 0) return child;
    body();
    fflush(nullptr);
    _exit(HasFailure() ? 1 : 0);
  }
  static void inChild(const std::function<void()>& body) {
    int status = -1;
    waitpid(start(body), &status, 0);
    EXPECT_EQ(status, 0);
  }
  // HOME and XDG_DATA_HOME stay the same.
  void asNobody(const std::function<void()>& body) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    inChild([&] {
      ASSERT_TRUE(setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0);
      body();
    });
  }

  const ScratchFolder root_, memory_{"/dev/shm"};
};

TEST_F(FileOperationsTest, CopiesEverythingInAnApplication) {
  const auto copies = [&](const std::string& user) {
    const std::string source = makeApplication(root_, user + "/A.app");
    for (const std::string& copy : {at(user + "/B.app"), in(user + ".app")}) {
      EXPECT_EQ(errorOf(copyTree(source + "/", copy + "/")), std::nullopt);
      EXPECT_EQ(description(copy), description(source));
    }
    EXPECT_EQ(namesIn(at(user)).size(), 2U);
  };
  copies("me");
  asNobody([&] { copies("nobody"); });
}

TEST_F(FileOperationsTest, RootOwnsItsCopiesAndDropsForeignSetUserIdBits) {
  if (geteuid() != 0) GTEST_SKIP() << "for root only";
  const std::string file = makeApplication(root_, "A.app") + "/Contents/MacOS/run";
  ASSERT_TRUE(chown(file.c_str(), kNobody, kNobody) == 0 && chmod(file.c_str(), 06755) == 0);
  for (const auto& [owner, user, mode] :
       {std::tuple{Owner::copier, 0U, 0755U}, {Owner::asBefore, kNobody, 06755U}}) {
    ASSERT_EQ(errorOf(copyTree(at("A.app"), at("B.app"), owner)), std::nullopt);
    struct stat facts {};
    stat(at("B.app/Contents/MacOS/run").c_str(), &facts);
    EXPECT_EQ(std::tuple(facts.st_uid, facts.st_gid, facts.st_mode & 07777),
              std::tuple(user, user, mode));
    EXPECT_TRUE(removeTree(at("B.app")));
  }
}

TEST_F(FileOperationsTest, ACopyThatFailsLeavesNothing) {
  makeApplication(root_, "A.app");
  fs::create_directory(at("taken"));
  fs::create_symlink("nowhere", at("link"));
  for (const char* name : {"taken", "link", "A.app"}) {
    EXPECT_THAT(errorOf(copyTree(at("A.app"), at(name))), Optional(HasSubstr("File exists")));
  }
  fs::create_symlink(at("A.app"), at("L.app"));
  EXPECT_FALSE(copyTree(at("L.app"), at("B.app")) || copyTree(at("L.app/"), at("B.app")));
  EXPECT_FALSE(copyTree(at("missing"), at("B.app")) || copyTree(at("A.app"), at("missing/B.app")));
  EXPECT_THAT(errorOf(copyTree(root_.path(), at("taken/B.app"))),
              Optional(HasSubstr("taken/.revwarden-")));
  asNobody([&] {
    makeApplication(memory_, "A.app");
    chmod((in("A.app/Contents/hidden")).c_str(), 0);
    EXPECT_THAT(errorOf(copyTree(in("A.app"), in("B.app"))),
                Optional(HasSubstr("A.app/Contents/hidden: Permission denied")));
    EXPECT_EQ(namesIn(memory_.path()).size(), 1U);
  });
  inChild([&] {
    const rlimit small{100'000, 100'000};
    setrlimit(RLIMIT_FSIZE, &small);
    signal(SIGXFSZ, SIG_IGN);
    EXPECT_THAT(errorOf(copyTree(at("A.app"), at("taken/B.app"))),
                Optional(HasSubstr("File too large")));
  });
  inChild([&] {
    if (unshare(CLONE_NEWNS) != 0 || mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      return;  // not allowed here
    }
    ASSERT_EQ(mount("none", at("taken").c_str(), "tmpfs", 0, "size=100k"), 0);
    const Result<> copied = copyTree(at("A.app"), at("taken/B.app"));
    EXPECT_EQ(copied.error().code, "noSpace");
    EXPECT_THAT(copied.error().message,
                testing::MatchesRegex(at("taken/B.app") +
                                      ": No space left on device .needs 3.. kB, 1.. kB free."));
  });
  EXPECT_THAT(namesIn(at("taken")), IsEmpty());
  EXPECT_EQ(namesIn(root_.path()).size(), 5U);
}

TEST_F(FileOperationsTest, NoOperationFollowsALinkOutOfTheTree) {
  memory_.write("outside/secret", "secret");
  fs::create_directory_symlink(in("outside"), in("link"));
  std::atomic<bool> isOver = false;
  for (int i = 0; i < 20; ++i) memory_.write("A.app/folder" + std::to_string(i) + "/file", "x");
  memory_.write("A.app/b/file", "x");
  std::thread attacker([&] {
    while (!isOver) {
      renameat2(AT_FDCWD, in("A.app/b").c_str(), AT_FDCWD, in("link").c_str(), RENAME_EXCHANGE);
    }
  });
  for (int i = 0; i < 300; ++i) {
    (void)copyTree(in("A.app"), in("copy"));
    EXPECT_FALSE(fs::exists(in("copy/b/secret")) && !fs::is_symlink(in("copy/b")));
    removeTree(in("copy"));
    if (i % 3 == 0) removeTree(in("A.app/b"));
    if (!fs::exists(in("A.app/b"))) memory_.write("A.app/b/file", "x");
  }
  isOver = true;
  attacker.join();
  EXPECT_TRUE(removeTree(in("link")) && removeTree(in("A.app")));
  EXPECT_EQ(memory_.read("outside/secret"), "secret");
}

TEST_F(FileOperationsTest, DeepTreesNeedFewDescriptors) {
  inChild([&] {
    const rlimit few{60, 60};
    setrlimit(RLIMIT_NOFILE, &few);
    FileDescriptor folder(open(memory_.path().c_str(), O_RDONLY | O_DIRECTORY));
    for (int level = 0; level < 3000; ++level) {
      ASSERT_EQ(mkdirat(folder.get(), "deep", 0700), 0);
      folder = FileDescriptor(openat(folder.get(), "deep", O_RDONLY | O_DIRECTORY));
      if (level % 1000 == 0) mkdirat(folder.get(), "beside", 0500);
    }
    EXPECT_EQ(errorOf(copyTree(in("deep"), in("copy"))), std::nullopt);
    EXPECT_TRUE(fs::exists(in("copy/deep/beside")) || fs::exists(in("copy/beside")));
    EXPECT_TRUE(removeTree(in("copy")) && removeTree(in("deep")));
    EXPECT_THAT(namesIn(memory_.path()), IsEmpty());
  });
}

TEST_F(FileOperationsTest, MovesToTheTrashByRenamingOrCopying) {
  const auto moves = [&](const ScratchFolder& from) {
    for (const char* name : {"A.app", "A.2.app"}) {
      const std::string app = makeApplication(from, "A.app");
      const std::set<std::string> before = description(app);
      EXPECT_EQ(errorOf(moveToTrash(app)), std::nullopt);
      EXPECT_EQ(description(at("data/Trash/files/" + std::string(name))), before);
    }
    const std::string odd = "100% \xC3\xA9\xFF\n";
    from.write(odd, "text");
    EXPECT_EQ(errorOf(moveToTrash(from.file(odd))), std::nullopt);
    EXPECT_THAT(
        root_.read("data/Trash/info/" + odd + ".trashinfo"),
        testing::MatchesRegex("\\[Trash Info\\]\nPath=" + from.path() +
                              "/100%25%20%C3%A9%FF%0A\nDeletionDate=....-..-..T..:..:..\n"));
    fs::create_symlink(at("outside"), from.file("L.app"));
    EXPECT_EQ(errorOf(moveToTrash(from.file("L.app/"))), std::nullopt);
    EXPECT_EQ(fs::read_symlink(at("data/Trash/files/L.app")), at("outside"));
    EXPECT_FALSE(moveToTrash(from.file("L.app")) || moveToTrash("/") || moveToTrash(at("..")));
    EXPECT_EQ(namesIn(at("data/Trash/files")).size(), 4U);
    EXPECT_EQ(namesIn(from.path()).size(), &from == &root_ ? 3U : 0U);
  };
  root_.write("outside/file", "x");
  for (const ScratchFolder* from : {&root_, &memory_}) {
    inChild([&] { moves(*from); });
    removeTree(at("data"));
    asNobody([&] { moves(*from); });
    removeTree(at("data"));
  }
}

TEST_F(FileOperationsTest, KeepsTheItemWhenItCannotGoToTheTrash) {
  asNobody([&] {
    const std::string app = makeApplication(memory_, "closed/A.app");
    const std::set<std::string> before = description(app);
    const std::string files = at("data/Trash/files"), info = at("data/Trash/info");
    for (const std::string& folder : {files, info}) fs::create_directories(folder);
    for (const std::string& closed : {in("closed"), files, info}) {
      chmod(closed.c_str(), 0555);
      EXPECT_FALSE(moveToTrash(app)) << closed;
      EXPECT_EQ(description(app), before);
      EXPECT_EQ(namesIn(in("closed")).size(), 1U);
      EXPECT_TRUE(namesIn(files).empty() && namesIn(info).empty()) << closed;
      chmod(closed.c_str(), 0755);
    }
  });
}

TEST_F(FileOperationsTest, KeepsTheItemWholeSomewhereWhenKilled) {
  setenv("XDG_DATA_HOME", in("data").c_str(), 1);
  for (int i = 0; i < 500; ++i) root_.write("A.app/" + std::to_string(i), "x");
  const std::string app = in("A.app"), copy = in("data/Trash/files/A.app");
  const auto refresh = [&] {
    for (const std::string& path : {app, copy, in("data/Trash/info")}) removeTree(path);
    ASSERT_EQ(errorOf(copyTree(at("A.app"), app)), std::nullopt);
  };
  refresh();
  const std::set<std::string> before = description(app);
  const auto begin = std::chrono::steady_clock::now();
  inChild([&] { EXPECT_EQ(errorOf(moveToTrash(app)), std::nullopt); });
  const auto whole = std::chrono::steady_clock::now() - begin;
  for (int turn = 0; turn < 60; ++turn) {
    refresh();
    const pid_t child = start([&] { (void)moveToTrash(app); });
    std::this_thread::sleep_for(whole * turn / 50);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const bool isThere = fs::exists(app), isTrashed = fs::exists(copy);
    EXPECT_TRUE(isThere || isTrashed) << turn;
    EXPECT_TRUE(!isThere || description(app) == before) << turn;
    EXPECT_TRUE(!isTrashed || description(copy) == before) << turn;
  }
  refresh();
  inChild([&] { EXPECT_EQ(errorOf(moveToTrash(app)), std::nullopt); });
  EXPECT_THAT(namesIn(memory_.path()), ElementsAre("data"))
      << "the next move removes what killed ones left";
  EXPECT_THAT(namesIn(in("data/Trash/files")), ElementsAre("A.app"));
}

}  // namespace
}  // namespace revwarden
