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
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

#include "ports/linux/linux_file_operations.h"
#include "ports/linux/trash.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/folder_copy.h"
#include "ports/posix/remove_tree.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;

constexpr uid_t kNobody = 65534;

std::string contentsOf(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// All that a copy must keep, one line for each entry.
std::set<std::string> description(const std::string& top) {
  std::set<std::string> lines;
  const auto add = [&](const fs::path& path) {
    struct stat facts {};
    if (lstat(path.c_str(), &facts) != 0) return;
    std::stringstream line;
    line << path.lexically_relative(top) << std::oct << ' ' << facts.st_mode << std::dec << ' '
         << facts.st_mtim.tv_sec << '.' << facts.st_mtim.tv_nsec;
    char note[100];
    const ssize_t size = lgetxattr(path.c_str(), "user.note", note, sizeof note);
    if (size > 0) line << " note " << std::string(note, size);
    if (S_ISLNK(facts.st_mode)) line << " to " << fs::read_symlink(path);
    if (S_ISREG(facts.st_mode)) line << " holds " << std::hash<std::string>()(contentsOf(path));
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

// A scratch folder that everybody may write, with the user's folders in it. What needs another
// user, limits or GLib's first look at the environment runs in a process of its own.
class FileOperationsTest : public testing::Test {
 protected:
  FileOperationsTest() : root_(newFolder(testing::TempDir())), memory_(newFolder("/dev/shm/")) {
    fs::create_directory(at("home"));
    setenv("HOME", at("home").c_str(), 1);
    setenv("XDG_DATA_HOME", at("data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", at("config").c_str(), 1);
  }
  ~FileOperationsTest() override {
    EXPECT_TRUE(removeTree(root_));
    EXPECT_TRUE(removeTree(memory_));
  }

  static std::string newFolder(const std::string& above) {
    std::string path = above + "/operations_XXXXXX";
    path = fs::canonical(mkdtemp(path.data()));
    chmod(path.c_str(), 0777);
    return path;
  }
  std::string at(const std::string& path) const { return root_ + "/" + path; }
  std::string in(const std::string& path) const { return memory_ + "/" + path; }
  static void write(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
  }

  static std::string makeApplication(const std::string& path) {
    write(path + "/Contents/MacOS/run", "program");
    write(path + "/Contents/locked/na\xFFme\n", std::string(300'000, 'x'));
    write(path + "/Contents/hidden", "");
    fs::create_directories(path + "/Contents/empty");
    fs::create_symlink("../../../home", path + "/Contents/out");
    fs::create_symlink("nowhere", path + "/Contents/dangling");
    mkfifo((path + "/Contents/fifo").c_str(), 0600);
    setxattr((path + "/Contents").c_str(), "user.note", "folder", 6, 0);
    setxattr((path + "/Contents/hidden").c_str(), "user.note", "file", 4, 0);
    chmod((path + "/Contents/MacOS/run").c_str(), 06775);
    chmod((path + "/Contents/hidden").c_str(), 0400);
    const timespec times[] = {{1'000'000'000, 123'456'789}, {1'100'000'000, 987'654'321}};
    for (const char* name :
         {"/Contents/out", "/Contents/MacOS/run", "/Contents/locked", "/Contents"}) {
      utimensat(AT_FDCWD, (path + name).c_str(), times, AT_SYMLINK_NOFOLLOW);
    }
    chmod((path + "/Contents/locked").c_str(), 0555);
    chmod(path.c_str(), 0555);
    return path;
  }
  static std::set<std::string> withoutFifo(std::set<std::string> lines) {
    std::erase_if(lines, [](const auto& line) { return line.find("Contents/fifo") != line.npos; });
    return lines;
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
  // The user's folders are that user's then.
  void asNobody(const std::function<void()>& body) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    inChild([&] {
      ASSERT_TRUE(setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0);
      body();
    });
  }

  std::string root_, memory_;
};

TEST_F(FileOperationsTest, CopiesAllThatAnApplicationHolds) {
  const auto copies = [&](const std::string& user) {
    const std::string source = makeApplication(at(user + "/A.app")), copy = at(user + "/B.app");
    const std::set<std::string> before = withoutFifo(description(source));
    EXPECT_EQ(copyTree(source, copy), std::nullopt);
    EXPECT_EQ(description(copy), before);
    const std::string other = memory_ + "/" + user + ".app";  // another file system
    EXPECT_EQ(copyTree(source + "/", other + "/"), std::nullopt);
    EXPECT_EQ(description(other), before);
    EXPECT_EQ(namesIn(at(user)).size(), 2U);
  };
  copies("me");
  asNobody([&] { copies("nobody"); });
}

TEST_F(FileOperationsTest, WhatRootCopiesBelongsToRootAndRunsAsNobodyElse) {
  if (geteuid() != 0) GTEST_SKIP() << "for root only";
  const std::string file = makeApplication(at("A.app")) + "/Contents/MacOS/run";
  ASSERT_EQ(chown(file.c_str(), kNobody, kNobody), 0);
  ASSERT_EQ(chmod(file.c_str(), 06755), 0);
  ASSERT_EQ(copyTree(at("A.app"), at("B.app")), std::nullopt);
  ASSERT_EQ(copyTree(at("A.app"), at("C.app"), Owner::asBefore), std::nullopt);
  struct stat facts {};
  stat(at("B.app/Contents/MacOS/run").c_str(), &facts);
  EXPECT_TRUE(facts.st_uid == 0 && facts.st_gid == 0 && (facts.st_mode & 07777) == 0755);
  stat(at("C.app/Contents/MacOS/run").c_str(), &facts);
  EXPECT_TRUE(facts.st_uid == kNobody && facts.st_gid == kNobody &&
              (facts.st_mode & 07777) == 06755);
}

TEST_F(FileOperationsTest, HolesStayHoles) {
  write(at("A.app/sparse"), "start");
  fs::resize_file(at("A.app/sparse"), 1 << 30);
  std::fstream(at("A.app/sparse"), std::ios::in | std::ios::out).seekp(1 << 29).write("middle", 6);
  for (const std::string& copy : {at("B.app"), in("B.app")}) {
    ASSERT_EQ(copyTree(at("A.app"), copy), std::nullopt);
    struct stat facts {};
    stat((copy + "/sparse").c_str(), &facts);
    EXPECT_LT(facts.st_blocks, 100);
    EXPECT_EQ(facts.st_size, 1 << 30);
    char found[6];
    std::ifstream(copy + "/sparse").seekg(1 << 29).read(found, 6);
    EXPECT_EQ(std::string(found, 6), "middle");
  }
}

TEST_F(FileOperationsTest, ACopyThatFailsLeavesNothing) {
  makeApplication(at("A.app"));
  fs::create_directory(at("taken"));
  fs::create_symlink("nowhere", at("link"));
  for (const char* name : {"taken", "link", "A.app"}) {
    EXPECT_THAT(copyTree(at("A.app"), at(name)), Optional(HasSubstr("File exists")));
  }
  fs::create_symlink(at("A.app"), at("L.app"));
  EXPECT_TRUE(copyTree(at("L.app"), at("B.app")) && copyTree(at("L.app/"), at("B.app")));
  EXPECT_TRUE(copyTree(at("missing"), at("B.app")) && copyTree(at("A.app"), at("missing/B.app")));
  EXPECT_THAT(copyTree(root_, at("taken/B.app")), Optional(HasSubstr("taken/.revwarden-")));
  EXPECT_THAT(namesIn(at("taken")), IsEmpty());
  asNobody([&] {
    makeApplication(in("A.app"));
    chmod((in("A.app/Contents/hidden")).c_str(), 0);
    EXPECT_THAT(copyTree(in("A.app"), in("B.app")),
                Optional(HasSubstr("A.app/Contents/hidden: Permission denied")));
    EXPECT_EQ(namesIn(memory_).size(), 1U);
  });
  inChild([&] {
    if (unshare(CLONE_NEWNS) != 0 || mount("", "/", "", MS_REC | MS_PRIVATE, "") != 0 ||
        mount("", at("taken").c_str(), "tmpfs", 0, "size=256k") != 0) {
      return;
    }
    EXPECT_THAT(copyTree(at("A.app"), at("taken/B.app")), Optional(HasSubstr("No space left")));
    EXPECT_THAT(namesIn(at("taken")), IsEmpty());
  });
  EXPECT_EQ(namesIn(root_).size(), 5U);
}

TEST_F(FileOperationsTest, WhatAKilledCopyLeftGoesWithTheNext) {
  for (int i = 0; i < 500; ++i) write(at("A.app/" + std::to_string(i)), std::string(50'000, 'x'));
  fs::create_directory(at("to"));
  const pid_t child = start([&] { copyTree(at("A.app"), at("to/B.app")); });
  while (namesIn(at("to")).empty()) std::this_thread::yield();
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  ASSERT_THAT(namesIn(at("to")), testing::ElementsAre(testing::StartsWith(".revwarden-")));
  ASSERT_EQ(copyTree(at("A.app"), at("to/C.app")), std::nullopt);
  EXPECT_THAT(namesIn(at("to")), testing::ElementsAre("C.app"));
}

TEST_F(FileOperationsTest, NothingIsFollowedOutOfTheTree) {
  write(in("outside/secret"), "secret");
  fs::create_directory_symlink(in("outside"), in("link"));
  std::atomic<bool> isOver = false;
  for (int i = 0; i < 20; ++i) write(in("A.app/folder" + std::to_string(i) + "/file"), "x");
  write(in("A.app/b/file"), "x");
  std::thread attacker([&] {
    while (!isOver) {
      renameat2(AT_FDCWD, in("A.app/b").c_str(), AT_FDCWD, in("link").c_str(), RENAME_EXCHANGE);
    }
  });
  for (int i = 0; i < 300; ++i) {
    copyTree(in("A.app"), in("copy"));
    EXPECT_FALSE(fs::exists(in("copy/b/secret")) && !fs::is_symlink(in("copy/b")));
    removeTree(in("copy"));
    if (i % 3 == 0) removeTree(in("A.app/b"));
    if (!fs::exists(in("A.app/b"))) write(in("A.app/b/file"), "x");
  }
  isOver = true;
  attacker.join();
  EXPECT_TRUE(removeTree(in("link")) && removeTree(in("A.app")));
  EXPECT_EQ(contentsOf(in("outside/secret")), "secret");
}

TEST_F(FileOperationsTest, DeepTreesNeedFewDescriptors) {
  inChild([&] {
    const rlimit few{60, 60};
    setrlimit(RLIMIT_NOFILE, &few);
    FileDescriptor folder(open(memory_.c_str(), O_RDONLY | O_DIRECTORY));
    for (int level = 0; level < 3000; ++level) {
      ASSERT_EQ(mkdirat(folder.get(), "deep", 0700), 0);
      folder = FileDescriptor(openat(folder.get(), "deep", O_RDONLY | O_DIRECTORY));
      if (level % 1000 == 0) mkdirat(folder.get(), "beside", 0500);
    }
    EXPECT_EQ(copyTree(in("deep"), in("copy")), std::nullopt);
    EXPECT_TRUE(fs::exists(in("copy/deep/beside")) || fs::exists(in("copy/beside")));
    EXPECT_TRUE(removeTree(in("copy")) && removeTree(in("deep")));
    EXPECT_THAT(namesIn(memory_), IsEmpty());
  });
}

TEST_F(FileOperationsTest, RemovesWhatTheUserOwnsAndSaysWhatIsLeft) {
  EXPECT_TRUE(removeTree(at("missing")));
  write(at("roots/mine/file"), "x");
  asNobody([&] {
    const std::string app = makeApplication(at("A.app"));
    for (const int mode : {0, 0400, 0200, 0500}) {
      const std::string folder = app + "/Contents/empty/" + std::to_string(mode);
      write(folder + "/below/file", "x");
      chmod((folder + "/below").c_str(), mode);
      chmod(folder.c_str(), mode);
    }
    EXPECT_TRUE(removeTree(app));
    EXPECT_FALSE(fs::exists(app));
    write(at("B.app/file"), "x");
    rename(at("roots").c_str(), at("B.app/roots").c_str());
    write(at("closed/C.app/file"), "x");
    chmod(at("closed").c_str(), 0555);
    EXPECT_FALSE(removeTree(at("closed/C.app")));  // the folder above is not touched
  });
}

class TrashTest : public FileOperationsTest {
 protected:
  std::vector<std::string> trashed() { return namesIn(at("data/Trash/files")); }
  std::vector<std::string> notes() { return namesIn(at("data/Trash/info")); }
};

TEST_F(TrashTest, ByRenamingInTheSameFileSystem) {
  const auto moves = [&] {
    for (int i = 0; i < 2; ++i) {
      const std::string app = makeApplication(at("A.app"));
      const std::set<std::string> before = description(app);
      EXPECT_EQ(moveToTrash(app), std::nullopt);
      EXPECT_FALSE(fs::exists(app));
      EXPECT_EQ(description(at("data/Trash/files/" + std::string(i ? "A.2.app" : "A.app"))),
                before);
    }
    fs::create_symlink("outside", at("L.app"));
    EXPECT_EQ(moveToTrash(at("L.app/")), std::nullopt);
    EXPECT_TRUE(fs::is_symlink(at("data/Trash/files/L.app")));
    EXPECT_TRUE(moveToTrash(at("L.app")) && moveToTrash("/") && moveToTrash(at("..")));
  };
  write(at("outside/file"), "x");
  inChild(moves);
  removeTree(at("data"));
  asNobody(moves);
}

TEST_F(TrashTest, ByCopyingFromAVolumeWithoutATrash) {
  const auto moves = [&] {
    for (const char* name : {"A.app", "A.2.app"}) {
      const std::string app = makeApplication(in("A.app"));
      const std::set<std::string> before = withoutFifo(description(app));
      EXPECT_EQ(moveToTrash(app), std::nullopt);
      EXPECT_EQ(description(at("data/Trash/files/" + std::string(name))), before);
    }
    const std::string odd = memory_ + "/100% \xC3\xA9\xFF\n";
    write(odd, "text");
    EXPECT_EQ(moveToTrash(odd), std::nullopt);
    fs::create_symlink(at("outside"), in("L"));
    EXPECT_EQ(moveToTrash(in("L")), std::nullopt);
    EXPECT_EQ(fs::read_symlink(at("data/Trash/files/L")), at("outside"));
    EXPECT_THAT(namesIn(memory_), IsEmpty());
    EXPECT_EQ(trashed().size(), 4U);
    EXPECT_THAT(
        contentsOf(at("data/Trash/info/100% \xC3\xA9\xFF\n.trashinfo")),
        testing::MatchesRegex("\\[Trash Info\\]\nPath=" + memory_ +
                              "/100%25%20%C3%A9%FF%0A\nDeletionDate=....-..-..T..:..:..\n"));
  };
  inChild(moves);
  removeTree(at("data"));
  asNobody(moves);
}

TEST_F(TrashTest, WhatCannotBeMovedStaysWholeAtItsPath) {
  asNobody([&] {
    const std::string app = makeApplication(in("closed/A.app"));
    const std::set<std::string> before = description(app);
    const auto stays = [&] {
      EXPECT_TRUE(moveToTrash(app));
      EXPECT_EQ(description(app), before);
      EXPECT_EQ(namesIn(in("closed")).size(), 1U);
      EXPECT_THAT(trashed(), IsEmpty());
      EXPECT_THAT(notes(), IsEmpty());
    };
    chmod(in("closed").c_str(), 0555);
    stays();
    chmod(in("closed").c_str(), 0755);
    fs::create_directories(at("data/Trash/info"));
    fs::create_directories(at("data/Trash/files"));
    chmod(at("data/Trash/files").c_str(), 0555);
    stays();
    chmod(at("data/Trash/info").c_str(), 0555);
    stays();
  });
}

TEST_F(TrashTest, WholeSomewhereWheneverItIsKilled) {
  setenv("XDG_DATA_HOME", in("data").c_str(), 1);
  for (int i = 0; i < 500; ++i) write(at("A.app/" + std::to_string(i)), "x");
  const std::string app = in("A.app"), copy = in("data/Trash/files/A.app");
  const auto refresh = [&] {
    removeTree(in("data"));
    removeTree(app);
    ASSERT_EQ(copyTree(at("A.app"), app), std::nullopt);
  };
  refresh();
  const std::set<std::string> before = description(app);
  const auto begin = std::chrono::steady_clock::now();
  inChild([&] { EXPECT_EQ(moveToTrash(app), std::nullopt); });
  const auto whole = std::chrono::steady_clock::now() - begin;
  for (int turn = 0; turn < 60; ++turn) {
    refresh();
    const pid_t child = start([&] { moveToTrash(app); });
    std::this_thread::sleep_for(whole * turn / 50);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const bool isThere = fs::exists(app), isTrashed = fs::exists(copy);
    EXPECT_TRUE(isThere || isTrashed) << turn;
    EXPECT_TRUE(!isThere || description(app) == before) << turn;
    EXPECT_TRUE(!isTrashed || description(copy) == before) << turn;
  }
}

TEST_F(FileOperationsTest, KnowsTheUsersFolders) {
  const LinuxFileOperations operations;
  EXPECT_EQ(operations.homeDirectory(), at("home"));
  EXPECT_THAT(operations.downloadsDirectories(), IsEmpty());
  for (const char* name : {"Loads", "Other"}) {
    write(at("config/user-dirs.dirs"), "XDG_DOWNLOAD_DIR=\"$HOME/" + std::string(name) + "\"\n");
    EXPECT_THAT(operations.downloadsDirectories(), testing::ElementsAre(at("home/") + name));
  }
  setenv("HOME", "nowhere", 1);
  EXPECT_THAT(operations.homeDirectory(), testing::StartsWith("/"));
}

}  // namespace
}  // namespace revwarden
