#include <gmock/gmock.h>
#include <signal.h>

#include <future>
#include <mutex>

#include "ports/linux/desktop/linux_workspace.h"
#include "ports/linux/loop/detached_threads.h"
#include "ports/linux/loop/glib_run_loop.h"
#include "ports/linux/processes/launch_application.h"
#include "ports/linux/processes/quit_scripts.h"
#include "ports/linux/processes/running_applications.h"
#include "ports/posix/spawn.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/eventually.h"
#include "tests/fakes/mocked_bus.h"
#include "tests/fakes/scratch_folder.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using namespace std::string_literals;
using testing::ElementsAre;
using testing::HasSubstr;

/// Returns true also for a zombie.
bool isThere(pid_t pid) {
  return kill(pid, 0) == 0;
}

/// A child that is killed at the end of its scope.
struct Child {
  explicit Child(std::vector<std::string> command) {
    SpawnRequest request;
    request.command = std::move(command);
    pid = *spawn(request);
  }
  ~Child() {
    kill(pid, SIGKILL);
    waitForEnd(pid);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  pid_t pid;
};

class DesktopTest : public testing::Test {
 protected:
  DesktopTest() {
    for (const char* bus : {"DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"}) unsetenv(bus);
    setenv("PATH", (scratch_.file("bin") + ":" + path_).c_str(), 1);
    setenv("HANDED_OVER", scratch_.file("handed").c_str(), 1);
    program("bin/xdg-open",
            "#!/bin/sh\n"
            "[ $(cut -d' ' -f6 /proc/$$/stat) = $$ ] && echo \"$$: $*\" >> $HANDED_OVER\n"
            "case $1 in *refused*) exit 3;; *slow*) exec sleep 60;; esac\n");
  }
  ~DesktopTest() override { setenv("PATH", path_.c_str(), 1); }

  void program(const std::string& name, const std::string& contents) const {
    scratch_.write(name, contents);
    fs::permissions(scratch_.file(name), fs::perms::owner_all);
  }
  /// Makes an application and returns the path of its program: a script, or a copy of "sleep".
  std::string application(const std::string& name, const std::string& script = "") const {
    const std::string file = "Apps/" + name + ".app/Contents/MacOS/Run";
    program(file, script);
    if (script.empty()) fs::copy("/bin/sleep", scratch_.file(file), kOverwriting);
    return scratch_.file(file);
  }
  std::string bundle(const std::string& name) const {
    return scratch_.file("Apps/" + name + ".app");
  }

  bool reveal(const std::string& path) {
    return workspace_.selectFile_inFileViewerRootedAtPath(path, "/");
  }
  void report(const std::string& line) {
    const std::lock_guard lock(mutex_);
    reports_.push_back(line);
  }
  std::vector<std::string> reports() {
    const std::lock_guard lock(mutex_);
    return reports_;
  }

  static constexpr auto kOverwriting = fs::copy_options::overwrite_existing;
  const std::string path_ = getenv("PATH");
  const ScratchFolder scratch_;
  std::mutex mutex_;
  std::vector<std::string> reports_;
  DetachedThreads threads_;
  LinuxWorkspace workspace_{
      threads_,
      {[this](std::string_view url, bool opened) {
         report(std::string(url) + (opened ? " +" : " -"));
       },
       [this](std::string_view path, std::string_view root, bool selected) {
         report(std::string(path) + " " + std::string(root) + (selected ? " +" : " -"));
       }}};
};

TEST_F(DesktopTest, OpensAddressesUnchangedAndFilesByPath) {
  EXPECT_TRUE(workspace_.openURL("HTTPS://x.example/a%20b?-c"));
  EXPECT_TRUE(workspace_.openURL("file:///tmp/a%20%C3%A9-"));
  EXPECT_FALSE(workspace_.openURL("http://refused"));
  const std::string handed = scratch_.read("handed");
  EXPECT_THAT(handed, HasSubstr(": HTTPS://x.example/a%20b?-c\n"));
  EXPECT_THAT(handed, HasSubstr(": /tmp/a \xC3\xA9-\n"));
  for (const std::string& bad : {"-h"s, ""s, "page.html"s, "file://elsewhere/x"s, "http://x\0y"s}) {
    EXPECT_FALSE(workspace_.openURL(bad)) << bad;
  }
  setenv("PATH", scratch_.path().c_str(), 1);
  EXPECT_FALSE(workspace_.openURL("http://no.opener"));
  EXPECT_EQ(scratch_.read("handed").find("no.opener"), std::string::npos);
  EXPECT_EQ(reports().size(), 9u);
  EXPECT_EQ(reports()[2], "http://refused -");
}

TEST_F(DesktopTest, OpensWithoutWaitingAndReapsAnOpenerThatLivesOn) {
  const auto start = std::chrono::steady_clock::now();
  for (const std::string& url : {"http://slow"s, "http://refused"s, "no address"s}) {
    workspace_.openURL_whenOpened(
        url, [this, url](bool opened) { report("then " + url + (opened ? " +" : " -")); });
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
  ASSERT_TRUE(eventually([&] { return reports().size() == 6; }));
  EXPECT_THAT(reports(), testing::UnorderedElementsAre("no address -", "then no address -",
                                                       "http://refused -", "then http://refused -",
                                                       "http://slow +", "then http://slow +"));
  const std::string handed = scratch_.read("handed");
  const pid_t slow = std::stoi(handed.substr(handed.rfind('\n', handed.find("slow")) + 1));
  ASSERT_TRUE(isThere(slow));
  kill(slow, SIGKILL);
  EXPECT_TRUE(eventually([&] { return !isThere(slow); }));
}

TEST_F(DesktopTest, ShowsFilesInTheFileViewerElseOpensTheFolder) {
  EXPECT_TRUE(reveal("/tmp/no bus")) << "without a session bus";
  EXPECT_THAT(scratch_.read("handed"), HasSubstr(": /tmp\n"));
  scratch_.write("viewer.py",
                 "BUS_NAME = MAIN_IFACE = 'org.freedesktop.FileManager1'\n"
                 "MAIN_OBJ = '/org/freedesktop/FileManager1'\n"
                 "SYSTEM_BUS = False\n"
                 "def load(mock, parameters):\n"
                 "    mock.AddMethod(MAIN_IFACE, 'ShowItems', 'ass', '', '')\n");
  const MockedBus bus("session", scratch_.file("viewer.py"));
  const auto calls = [&] {
    return bus.call("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                    "Mock.GetCalls");
  };
  ASSERT_TRUE(eventually([&] { return calls() != ""; }));
  EXPECT_TRUE(reveal("/home/a b%"));
  EXPECT_THAT(calls(), HasSubstr("[<['file:///home/a%20b%25']>, <''>]"));
  EXPECT_EQ(scratch_.read("handed").find("/home"), std::string::npos);
  EXPECT_THAT(reports(), ElementsAre("/tmp/no bus / +", "/home/a b% / +"));
}

TEST_F(DesktopTest, ARunningApplicationKeepsThePathOfItsStart) {
  const auto runningIn = [](pid_t pid) {
    return runningApplication(pid).value_or(RunningApplication{}).bundlePath;
  };
  const std::string script = application("Script", "#!/usr/bin/tail -f\n");
  const std::string here = "cd " + scratch_.file("Apps") + "; exec Here.app/Contents/MacOS/Run 60";
  fs::create_directory_symlink("Apps", scratch_.file("link"));
  application("Here");
  application("Linked");
  const Child named({application("Named"), "60"}), interpreted({script}),
      reader({"tail", "-f", script}),
      linked({scratch_.file("link/Linked.app/Contents/MacOS/Run"), "60"}),
      byShell({"/bin/sh", "-c", here});
  const std::string opened = "/proc/" + std::to_string(interpreted.pid) + "/fd/3";
  ASSERT_TRUE(eventually([&] {  // tail would end if it opened the script only after the renaming
    return runningIn(byShell.pid) == bundle("Here") && fs::exists(opened);
  }));

  fs::create_directories(scratch_.file("Trash/files"));
  for (const std::string name : {"Named", "Script", "Here"}) {
    fs::rename(bundle(name), scratch_.file("Trash/files/2 " + name + ".app"));
  }
  scratch_.write("Trash/info/2 Here.app.trashinfo",
                 "[Trash Info]\nPath=" + scratch_.file("%41pps/Here.app") + "\n");
  EXPECT_EQ(runningIn(named.pid), bundle("Named")) << "also while nothing is at that path";
  application("Named");
  application("Script", "#!/usr/bin/tail -f\n# new\n");
  EXPECT_EQ(runningIn(named.pid), bundle("Named"));
  EXPECT_EQ(runningIn(interpreted.pid), bundle("Script"));
  EXPECT_EQ(runningIn(linked.pid), bundle("Linked"));
  EXPECT_EQ(runningIn(byShell.pid), bundle("Here"));
  EXPECT_EQ(runningIn(reader.pid), "");
  EXPECT_THAT(workspace_.launchedApplicationPaths(), testing::Contains(bundle("Linked")));
}

TEST_F(DesktopTest, TheQuitScriptEndsOnlyTheNamedApplication) {
  QuitScripts scripts(300ms);
  const std::string name = "Say \"\\\"";
  const Child quits({application(name), "60"}), other({application("Say"), "60"}),
      stays({application("Stubborn",
                         "#!/bin/sh\ntrap '' TERM\necho > $0.ready\n"
                         "until read x < $0.never; do sleep 0.05; done 2>/dev/null\n")});
  const auto quit = [&](const std::string& of) {
    return errorOf(scripts.executeSource("tell application \"" + of + "\" to quit"));
  };
  EXPECT_EQ(quit("Say \\\"\\\\\\\""), std::nullopt) << "a zombie has ended";
  EXPECT_FALSE(runningApplication(quits.pid));
  EXPECT_EQ(quit("say"), std::nullopt) << "names are compared exactly, and none runs";
  ASSERT_TRUE(
      eventually([&] { return fs::exists(bundle("Stubborn") + "/Contents/MacOS/Run.ready"); }));
  EXPECT_THAT(quit("Stubborn"), testing::Optional(HasSubstr("Stubborn")));
  for (const char* source : {"tell application \"Say\" to quit now", "tell application \"Say\\"}) {
    EXPECT_FALSE(scripts.executeSource(source)) << source;
  }
  EXPECT_TRUE(runningApplication(other.pid));
}

TEST_F(DesktopTest, LaunchesTheProgramThatTheBundleNames) {
  const auto say = [&](const std::string& place, const std::string& executable) {
    scratch_.write("Apps/Shop.app/" + place, "<plist><dict><key>CFBundleExecutable</key><string>" +
                                                 executable + "</string></dict></plist>");
  };
  EXPECT_FALSE(launchApplication(bundle("Shop")));
  application("Shop", "#!/bin/sh\n[ $(cut -d' ' -f6 /proc/$$/stat) = $$ ] && echo $$ > $0.pid\n");
  say("Resources/Info.plist", "Run");
  EXPECT_TRUE(launchApplication(bundle("Shop")));
  const std::string started = "Apps/Shop.app/Contents/MacOS/Run.pid";
  ASSERT_TRUE(eventually([&] { return scratch_.read(started).ends_with('\n'); }));
  EXPECT_TRUE(eventually([&] { return !isThere(std::stoi(scratch_.read(started))); }));
  for (const char* bad : {"", "..", "../MacOS/Run", "Other"}) {
    say("Contents/Info.plist", bad);
    EXPECT_FALSE(launchApplication(bundle("Shop"))) << bad;
  }
}

}  // namespace
}  // namespace revwarden
