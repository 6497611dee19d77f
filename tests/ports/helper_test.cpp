#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "ports/linux/helper/helper_manager.h"
#include "ports/linux/helper/helper_protocol.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/spawn.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/eventually.h"
#include "tests/fakes/scratch_folder.h"

namespace revwarden {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr auto absent = std::nullopt;

bool hasChildren() {
  return ::waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) == 0;
}

class HelperTest : public testing::Test {
 protected:
  HelperTest() {
    ::setenv("PATH", (folder.file("bin") + ":" + programs).c_str(), 1);
    ::setenv("XDG_DATA_HOME", folder.file("data").c_str(), 1);
    fs::create_directories(folder.file("data"));
    folder.write("Apps/Foo.app/old", "old");
    folder.write("new/Foo.app/new", "new");
    folder.write("Foo.pkg", "");
  }
  ~HelperTest() override { ::setenv("PATH", programs.c_str(), 1); }

  void program(const std::string& name, const std::string& body, unsigned mode = 0755) const {
    folder.write(name, "#!/bin/sh\n" + body + "\n");
    fs::permissions(folder.file(name), fs::perms(mode));
  }
  std::optional<std::string> runScript(KQHelperTask& task, const std::string& body,
                                       const std::string& name = "installPkg",
                                       unsigned mode = 0755) const {
    program(name, body, mode);
    return errorOf(task.performAction_withArguments(
        "runScript", {{"SCRIPT", folder.file(name)}, {"PKG_PATH", folder.file("Foo.pkg")}}));
  }

  LinuxHelperManager manager(Authorization authorization) {
    return {authorization,
            REVWARDEN_HELPER,
            {[this](std::string_view, bool granted) { asked.push_back(granted); },
             [this](auto selector, auto&&...) { ended.emplace_back(selector); }}};
  }

  const std::string programs = std::getenv("PATH");
  const ScratchFolder folder;
  const std::string app = folder.file("Apps/Foo.app");
  std::vector<bool> asked;
  std::vector<std::string> ended;
};

TEST_F(HelperTest, IsGrantedOnlyIfTheHelperSendsItsGreeting) {
  LinuxHelperManager asking = manager(Authorization::ask);
  for (const auto& [body, isGranted] : {std::pair{"exec \"$@\"", true},
                                        {"echo Welcome.; \"$@\"", true},
                                        {"exit 126", false},
                                        {"sleep 30 & exit 127", false},
                                        {"exit 1", false}}) {
    program("bin/pkexec", body);
    const auto task = asking.rootTaskWithPrompt("Please");
    EXPECT_EQ(task.ok(), isGranted) << body;
    EXPECT_EQ(asked.back(), isGranted);
    const bool isRefusal = body != "exit 1"s;
    if (!task) {
      EXPECT_EQ(task.error().code, isRefusal ? "notAuthorized" : "authorizationUnavailable");
    }
  }
  fs::remove(folder.file("bin/pkexec"));
  ::setenv("PATH", folder.file("bin").c_str(), 1);
  EXPECT_EQ(asking.rootTaskWithPrompt("Please").error().code, "authorizationUnavailable");
  EXPECT_EQ(manager(Authorization::never).rootTaskWithPrompt("Please").error().code,
            "notAuthorized");
  EXPECT_EQ(asked.size(), 7u);
  EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(HelperTest, ReplacesAnApplicationAndAnswersEachOperationOnce) {
  program("bin/pkexec", "exec " STAND_IN_PKEXEC " \"$@\"");
  const auto task = manager(Authorization::ask).rootTaskWithPrompt("Please").value();
  ASSERT_TRUE(task);
  EXPECT_NE(errorOf(task->performCopyItemAtPath_toPath(folder.file("new/Foo.app"), app)), absent);
  const Result<std::string> trashed = task->moveItemAtPathToTrash(app);
  EXPECT_EQ(trashed ? *trashed : trashed.error().message, folder.file("data/Trash/files/Foo.app"));
  EXPECT_EQ(folder.read("data/Trash/files/Foo.app/old"), "old");
  EXPECT_EQ(errorOf(task->performCopyItemAtPath_toPath(folder.file("new/Foo.app"), app)), absent);
  EXPECT_EQ(folder.read("Apps/Foo.app/new"), "new");
  task->stop();
  task->stop();
  EXPECT_NE(errorOf(task->moveItemAtPathToTrash(app)), absent);
  EXPECT_EQ(ended.size(), 5u) << "stopped once";
  EXPECT_TRUE(eventually([] { return !hasChildren(); }));
}

TEST_F(HelperTest, RefusesWhatNoUpdateRequests) {
  const auto task = manager(Authorization::always).rootTaskWithPrompt("Please").value();
  fs::create_directory_symlink(folder.file("Apps"), folder.file("link"));
  fs::create_directory_symlink(app, folder.file("Apps/Link.app"));
  for (const std::string& path :
       {"Apps/Foo.app"s, folder.file("new/../Apps/Foo.app"), folder.file("Apps"),
        folder.file("Apps/Link.app"), app + "/", "/"s, ""s}) {
    EXPECT_NE(errorOf(task->moveItemAtPathToTrash(path)), absent) << path;
  }
  const std::string source = folder.file("new/Foo.app");
  EXPECT_NE(errorOf(task->performCopyItemAtPath_toPath(source, folder.file("link/New.app"))),
            absent);
  EXPECT_NE(errorOf(task->performCopyItemAtPath_toPath(source, folder.file("Apps/new"))), absent);
  EXPECT_EQ(
      task->performCopyItemAtPath_toPath(source + "/new", folder.file("New.app")).error().code,
      "notFolder");
  EXPECT_NE(runScript(*task, "touch " + folder.file("ran"), "other"), absent);
  EXPECT_NE(runScript(*task, "touch " + folder.file("ran"), "open/installPkg", 0757), absent);
  EXPECT_FALSE(fs::exists(folder.file("ran")) || fs::exists(folder.file("Apps/New.app")));
  EXPECT_EQ(runScript(*task, ""), absent);
  EXPECT_NE(errorOf(task->performAction_withArguments("runAnything", {})), absent);
  EXPECT_NE(runScript(*task, ""), absent) << "ends after a request that the agent never sends";
}

TEST_F(HelperTest, EndsAtMalformedMessages) {
  for (const std::string& bytes : {"\xff\xff\xff\xff"s, "\4\0\0\0\5\0\0\0"s, "\2\0"s}) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const FileDescriptor ours(ends[0]);
    SpawnRequest request;
    request.command = {REVWARDEN_HELPER};
    request.input = ends[1];
    const pid_t pid = *spawn(request);
    ::close(ends[1]);
    EXPECT_TRUE(receiveMessage(ours.get()));
    ASSERT_EQ(::send(ours.get(), bytes.data(), bytes.size(), 0), ssize_t(bytes.size()));
    ::shutdown(ours.get(), SHUT_WR);
    EXPECT_EQ(receiveMessage(ours.get()), absent);
    EXPECT_EQ(waitForEnd(pid), 0);
  }
}

TEST_F(HelperTest, RunsTheScriptInACleanEnvironmentAndReportsItsErrors) {
  ::setenv("SECRET", "1", 1);
  const auto task = manager(Authorization::always).rootTaskWithPrompt("Please").value();
  const auto error = runScript(*task, "cd " + folder.path() +
                                          "; env >env; sleep 60 & echo $! >pid\n"
                                          "head -c 300000 /dev/zero | tr '\\0' x >&2\n"
                                          "echo No space. >&2; exit 3");
  ::kill(std::atoi(folder.read("pid").c_str()), SIGKILL);  // did not delay the answer
  EXPECT_THAT(error.value_or(""), testing::MatchesRegex(".* status 3: x+No space."));
  EXPECT_LT(error.value_or("").size(), 4200u);
  EXPECT_THAT(folder.read("env"),
              testing::AllOf(HasSubstr("SCRIPT=" + folder.file("installPkg") + "\n"),
                             HasSubstr("PKG_PATH=" + folder.file("Foo.pkg") + "\n"),
                             testing::Not(HasSubstr("SECRET"))));
  EXPECT_NE(runScript(*task, "kill -9 $PPID"), absent) << "also if the helper is killed";
  EXPECT_NE(runScript(*task, ""), absent);
}

TEST_F(HelperTest, EndsPromptsHelpersAndScriptsAtOnce) {
  LinuxHelperManager always = manager(Authorization::always);
  LinuxHelperManager asking = manager(Authorization::ask);
  program("bin/pkexec", "echo >" + folder.file("prompt") + "; sleep 60");
  const auto task = always.rootTaskWithPrompt("Please").value();
  std::thread prompt([&] { EXPECT_FALSE(asking.rootTaskWithPrompt("Please")); });
  std::thread script([&] {
    EXPECT_NE(runScript(*task, "sleep 60 & echo $! >" + folder.file("pid") + "; wait"), absent);
  });
  EXPECT_TRUE(
      eventually([&] { return fs::exists(folder.file("prompt")) && !folder.read("pid").empty(); }));
  asking.endAll();
  always.endAll();
  prompt.join();
  script.join();
  const pid_t below = std::atoi(folder.read("pid").c_str());
  EXPECT_TRUE(eventually([&] { return ::kill(below, 0) != 0; }))
      << "the script's own child still runs";
  EXPECT_TRUE(eventually([] { return !hasChildren(); }));
  EXPECT_FALSE(always.rootTaskWithPrompt("Please"));
}

// A helper of root works for a user without rights.
using HelperDeathTest = HelperTest;

TEST_F(HelperDeathTest, GivesTheOldApplicationToTheUserAndTheNewOneToRoot) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can start a helper for another user";
  constexpr uid_t nobody = 65534;
  constexpr gid_t root = 0;  // must not keep this group
  fs::permissions(folder.path(), fs::perms(0755));
  fs::create_directory(folder.file("bin"));
  fs::copy_file(STAND_IN_PKEXEC, folder.file("bin/pkexec"));
  ASSERT_EQ(::chmod(folder.file("bin/pkexec").c_str(), 04755), 0);
  ASSERT_EQ(::chown(folder.file("data").c_str(), nobody, nobody), 0);
  fs::create_directory(folder.file("root"));
  fs::permissions(folder.file("root"), fs::perms(0770));
  folder.write("Apps/Bar.app/file", "");
  const auto asNobody = [&] {
    if (::setgroups(1, &root) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0) ::_exit(2);
    const auto task = manager(Authorization::ask).rootTaskWithPrompt("Please").value();
    EXPECT_EQ(errorOf(task->moveItemAtPathToTrash(app)), absent);
    EXPECT_EQ(errorOf(task->performCopyItemAtPath_toPath(folder.file("new/Foo.app"), app)), absent);
    fs::rename(folder.file("data/Trash/files"), folder.file("data/Trash/mine"));
    fs::create_symlink(folder.file("root"), folder.file("data/Trash/files"));
    EXPECT_NE(errorOf(task->moveItemAtPathToTrash(folder.file("Apps/Bar.app"))), absent);
    ::_exit(HasFailure());
  };
  EXPECT_EXIT(asNobody(), testing::ExitedWithCode(0), "");
  struct stat trashed, copied;
  ASSERT_EQ(::stat(folder.file("data/Trash/mine/Foo.app/old").c_str(), &trashed), 0);
  ASSERT_EQ(::stat(folder.file("Apps/Foo.app/new").c_str(), &copied), 0);
  EXPECT_EQ(trashed.st_uid, nobody);
  EXPECT_EQ(copied.st_uid, 0u);
  EXPECT_TRUE(fs::exists(folder.file("Apps/Bar.app/file")) && fs::is_empty(folder.file("root")));
}

}  // namespace
}  // namespace revwarden
