#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "ports/linux/property_lists/property_list.h"
#include "ports/linux/system/file_user_defaults.h"
#include "tests/fakes/scratch_folder.h"

namespace revwarden {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
namespace fs = std::filesystem;

class DefaultsTest : public testing::Test {
 protected:
  void write(const std::string& contents) { folder_.write("config/defaults.plist", contents); }
  std::optional<Value> stored() const {
    return readPropertyList(folder_.read("config/defaults.plist"));
  }
  long filesBeside() const {
    return std::distance(fs::directory_iterator(folder_.file("config")), {}) - 1;
  }
  bool save(const Dictionary& dictionary) {
    defaults_.setDictionary(dictionary, "KQRWAgent");
    return defaults_.synchronize();
  }

  const ScratchFolder folder_;
  const std::string file_ = folder_.file("config/defaults.plist");
  std::vector<std::string> diagnostics_;
  std::function<void(std::string)> diagnose_ = [this](std::string line) {
    diagnostics_.push_back(std::move(line));
  };
  FileUserDefaults defaults_{file_, diagnose_};
  const Dictionary one_{{"n", 1}};
  const Dictionary two_{{"n", 2}};
};

TEST_F(DefaultsTest, KeepOtherKeysAndSeeChangesOfOtherProcesses) {
  write(
      "<plist><dict><key>Other</key><array><real>1</real></array><key>KQRWAgent</key><string>x"
      "</string></dict></plist>");
  EXPECT_FALSE(defaults_.dictionaryForKey("KQRWAgent"));  // not a dictionary
  EXPECT_TRUE(save(one_));
  EXPECT_EQ(stored(), Value(Dictionary{{"Other", Array({1.0})}, {"KQRWAgent", one_}}));
  // What another process writes at any moment is seen, and kept by the next save.
  for (const std::string key : {"A", "B", "C"}) {
    write(writeXmlPropertyList(Dictionary{{key, 1}, {"KQRWAgent", two_}}));
    EXPECT_EQ(defaults_.dictionaryForKey("KQRWAgent"), two_);
    EXPECT_TRUE(save(one_));
    EXPECT_EQ(stored(), Value(Dictionary{{key, 1}, {"KQRWAgent", one_}}));
  }
}

TEST_F(DefaultsTest, NeverReplaceAFileThatCannotBeRead) {
  fs::create_directories(file_);
  EXPECT_FALSE(defaults_.dictionaryForKey("KQRWAgent"));
  EXPECT_FALSE(save(one_));
  EXPECT_TRUE(fs::is_directory(file_));
  EXPECT_THAT(diagnostics_.at(0), HasSubstr("cannot read"));
  fs::remove(file_);
  write("<plist><dict><key>Other</key><true/></dict></plist>");
  EXPECT_EQ(defaults_.dictionaryForKey("KQRWAgent"), one_);  // as set
  EXPECT_FALSE(defaults_.synchronize());                     // once could not be read
  EXPECT_EQ(stored(), Value(Dictionary{{"Other", true}}));
}

TEST_F(DefaultsTest, KeepTheOldFileWhenAWriteFails) {
  EXPECT_TRUE(save(one_));
  std::ofstream(file_ + "." + std::to_string(getpid()) + ".tmp") << "of a killed process";
  EXPECT_TRUE(save(one_));
  signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit tight{1000, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &tight);
  EXPECT_FALSE(save(Dictionary{{"x", std::string(100'000, 'x')}}));
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_THAT(diagnostics_, SizeIs(1));
  EXPECT_EQ(filesBeside(), 0) << "temporary files are removed, also those of killed processes";
  EXPECT_EQ(stored(), Value(Dictionary{{"KQRWAgent", one_}}));
  EXPECT_TRUE(defaults_.unsavedSince());
  EXPECT_TRUE(save(two_));
  EXPECT_FALSE(defaults_.unsavedSince());
}

TEST_F(DefaultsTest, FinishOnlyTheWriteUnderWayAtTheEnd) {
  std::vector<Value> items(20'000, Dictionary{{"text", "some text"}});
  const Dictionary big{{"items", Array(std::move(items))}};
  std::atomic<int> written = 0;
  std::thread writer([&] {
    while (save(big)) ++written;
  });
  while (written == 0) std::this_thread::yield();
  EXPECT_TRUE(defaults_.finishWritesAndClose(30s));
  const auto time = fs::last_write_time(file_);
  writer.join();
  EXPECT_EQ(fs::last_write_time(file_), time);
  EXPECT_EQ(filesBeside(), 0);
  EXPECT_FALSE(save(one_));
  EXPECT_EQ(stored(), Value(Dictionary{{"KQRWAgent", big}}));
}

}  // namespace
}  // namespace revwarden
