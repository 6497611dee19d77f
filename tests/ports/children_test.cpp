#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "ports/linux/processes/linux_child_processes.h"
#include "tests/fakes/opened_addresses.h"
#include "tests/fakes/scratch_folder.h"

namespace revwarden {
namespace {

using std::chrono_literals::operator""ms;

class ChildrenTest : public testing::Test {
 protected:
  ChildrenTest() { signal(SIGPIPE, SIG_IGN); }

  static ChildProcess shell(const std::string& script) {
    return {"/bin/sh", {"-c", script}, {}, {}, true};
  }

  ScratchFolder scratch_;
  OpenedAddresses workspace_;
  LinuxChildProcesses children_{{scratch_.file("tools"), ""}, workspace_};
};

TEST_F(ChildrenTest, ReceiveExactlyTheirArgumentsEnvironmentAndInput) {
  ChildProcess child = shell("env | grep -v -e PWD= -e _= -e SHLVL=; cat; echo \"$0\"; exit 3");
  child.arguments.push_back("$(x) *");
  child.environment = std::map<std::string, std::string>{{"PAGER", "/usr/bin/true"}};
  child.input = "y\n";
  const auto result = children_.run(child);
  ASSERT_TRUE(result);
  EXPECT_EQ(result->exitStatus, 3);
  EXPECT_EQ(result->output, "PAGER=/usr/bin/true\ny\n$(x) *\n");
  EXPECT_EQ(children_.run(shell("readlink /proc/self/fd/0 /proc/self/fd/2"))->output,
            "/dev/null\n/dev/null\n");
  EXPECT_EQ(children_.run(shell("kill -TERM $$"))->exitStatus, 128 + SIGTERM);
  EXPECT_FALSE(children_.run({scratch_.file("missing"), {}, {}, {}, true}));
}

TEST_F(ChildrenTest, ReadAndWriteInAnyOrderAndSize) {
  ChildProcess child = shell("head -c 20000000 /dev/zero; cat >/dev/null; exit 5");
  child.input = std::string(1 << 20, 'x');
  const auto result = children_.run(child);
  EXPECT_EQ(result->output.size(), size_t{16} << 20);  // the rest was discarded
  EXPECT_EQ(result->exitStatus, 5);
  child.arguments = {"-c", "exec <&-; exit 6"};
  EXPECT_EQ(children_.run(child)->exitStatus, 6);
}

TEST_F(ChildrenTest, AreAllKilledAtTheEndWithTheirDescendants) {
  std::atomic<int> runs = 0;
  std::vector<std::thread> jobs;
  for (int i = 0; i < 4; ++i) {
    jobs.emplace_back([this, &runs, i] {  // "&": the child ends, its output stays open
      while (children_.run(shell(++runs < 40 || i % 2 ? "exit 0" : "sleep 1000 &"))) {
      }
    });
  }
  while (runs < 60) std::this_thread::sleep_for(1ms);
  children_.endAll();
  for (std::thread& job : jobs) job.join();
}

TEST_F(ChildrenTest, RemoveLinksOutOfTheFolderBeforeUnzip) {
  namespace fs = std::filesystem;
  fs::create_directories(scratch_.file("new/sub"));
  fs::create_directory_symlink(scratch_.path(), scratch_.file("new/sub/out"));
  fs::create_directory_symlink("sub", scratch_.file("new/inside"));
  scratch_.write("tools/unzip", "#!/bin/sh\n");
  chmod(scratch_.file("tools/unzip").c_str(), 0755);
  const ChildProcess unzip{"/usr/bin/unzip", {"x.zip", "-d", scratch_.file("new")}, {}, {}, false};
  EXPECT_TRUE(children_.run(unzip));
  EXPECT_FALSE(fs::is_symlink(scratch_.file("new/sub/out")));
  EXPECT_TRUE(fs::is_symlink(scratch_.file("new/inside")));
}

}  // namespace
}  // namespace revwarden
