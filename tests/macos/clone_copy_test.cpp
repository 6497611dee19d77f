#include <copyfile.h>
#include <gmock/gmock.h>
#include <removefile.h>
#include <sys/clonefile.h>
#include <sys/stat.h>
#include <sys/stdio.h>

#include <cstring>

#include "ports/posix/folder_copy.h"
#include "ports/posix/remove_tree.h"
#include "tests/fakes/scratch_folder.h"

// Small stand-ins of a Mac's calls, which fail as they are told. So the tests see the order of the
// calls and the clean-up, and nothing of how a Mac's own calls behave.
namespace fs = std::filesystem;

struct Copying {
  int (*onStep)(int, int, Copying*, const char*, const char*, void*);
  void* context;
};

namespace {

struct {
  std::vector<std::string> calls = {};
  int cloneError = 0, renameError = 0;
  std::string unreadable = {};  // a name
} mac;

int answer(const std::string& call, int error = 0) {
  mac.calls.push_back(call);
  errno = error;
  return error == 0 ? 0 : -1;
}

}  // namespace

int clonefile(const char* from, const char* to, uint32_t flags) {
  EXPECT_EQ(flags, CLONE_NOFOLLOW | CLONE_NOOWNERCOPY);
  EXPECT_THAT(to, testing::MatchesRegex(".*/\\.revwarden-[0-9]+-[0-9]+\\.bundle"));
  fs::create_directory(to);  // of a clone that fails, too, something may be there
  constexpr auto kOptions = fs::copy_options::recursive | fs::copy_options::copy_symlinks;
  if (mac.cloneError == 0) fs::copy(from, to, kOptions);
  return answer("clone", mac.cloneError);
}

copyfile_state_t copyfile_state_alloc() {
  return new Copying;
}
int copyfile_state_free(copyfile_state_t state) {
  delete state;
  return 0;
}
int copyfile_state_set(copyfile_state_t state, uint32_t key, const void* value) {
  const bool isContext = key == COPYFILE_STATE_STATUS_CTX;
  memcpy(isContext ? &state->context : reinterpret_cast<void**>(&state->onStep), &value,
         sizeof value);
  return 0;
}

int copyfile(const char* from, const char* to, copyfile_state_t state, copyfile_flags_t flags) {
  EXPECT_EQ(flags, COPYFILE_ALL | COPYFILE_RECURSIVE | COPYFILE_NOFOLLOW);
  if (!fs::create_directory(to)) return answer("copy", EEXIST);
  for (const auto& entry : fs::recursive_directory_iterator(from)) {
    const fs::path target = to / entry.path().lexically_relative(from);
    const auto step = [&](int stage) {
      return state->onStep(COPYFILE_RECURSE_FILE, stage, state, entry.path().c_str(),
                           target.c_str(), state->context);
    };
    if (fs::is_directory(entry.symlink_status())) {
      fs::create_directory(target);
    } else if (entry.path().filename() == mac.unreadable) {
      errno = EACCES;
      if (step(COPYFILE_ERR) == COPYFILE_QUIT) return answer("copy", ECANCELED);
    } else if (step(COPYFILE_START) != COPYFILE_SKIP) {
      fs::copy(entry, target, fs::copy_options::copy_symlinks);
      EXPECT_EQ(step(COPYFILE_FINISH), COPYFILE_CONTINUE);
    }
  }
  return answer("copy");
}

int removefile(const char* path, void*, uint32_t flags) {
  struct stat facts;
  EXPECT_EQ(flags, REMOVEFILE_RECURSIVE);
  if (lstat(path, &facts) != 0) return -1;
  const bool isClosed = S_ISDIR(facts.st_mode) && (facts.st_mode & S_IWUSR) == 0;
  if (!isClosed) fs::remove_all(path);
  return answer("remove", isClosed ? EACCES : 0);
}

int renamex_np(const char* from, const char* to, unsigned flags) {
  EXPECT_EQ(flags, RENAME_EXCL);
  const int error = mac.renameError;
  return answer("rename", error == 0 && rename(from, to) != 0 ? errno : error);
}

namespace revwarden {
namespace {

using testing::ElementsAre;
using testing::Optional;
using testing::UnorderedElementsAre;

struct CloneCopy : testing::Test {
  CloneCopy() {
    folder.write("A.app/Contents/tool", "machine code");
    fs::permissions(folder.file("A.app/Contents/tool"), fs::perms{06755});
    fs::create_symlink("nowhere", folder.file("A.app/link"));
  }
  std::optional<std::string> copy(const std::string& source = "A.app/") {
    return copyTree(folder.file(source), folder.file("B.app"));
  }
  std::vector<std::string> names() const {
    const fs::directory_iterator entries(folder.path());
    std::vector<std::string> names;
    for (const auto& entry : entries) names.push_back(entry.path().filename());
    return names;
  }

  ScratchFolder folder;
};

TEST_F(CloneCopy, ClonesIntoAHiddenSiblingThatAppearsWhole) {
  for (const int renameError : {0, ENOTSUP}) {
    mac = {.renameError = renameError};
    EXPECT_EQ(copy(), std::nullopt);
    EXPECT_THAT(mac.calls, ElementsAre("clone", "rename"));
    EXPECT_EQ(folder.read("B.app/Contents/tool"), "machine code");
    EXPECT_THAT(names(), UnorderedElementsAre("A.app", "B.app"));
    fs::remove_all(folder.file("B.app"));
  }
}

TEST_F(CloneCopy, CopiesWhereTheVolumeDoesNotCloneAndClearsAwayWhatAKilledProcessLeft) {
  const std::string ofNobody = ".revwarden-4194305-1.bundle";  // more than the greatest number
  const std::string ofARunningOne = ".revwarden-" + std::to_string(getppid()) + "-1.bundle";
  mkfifo(folder.file("A.app/Contents/pipe").c_str(), 0600);
  for (const int error : {ENOTSUP, EXDEV}) {
    mac = {.cloneError = error};
    fs::create_directory(folder.file(ofNobody));
    fs::create_directory(folder.file(ofARunningOne));
    EXPECT_EQ(copy(), std::nullopt);
    EXPECT_THAT(mac.calls, ElementsAre("remove", "clone", "remove", "copy", "rename"));
    EXPECT_EQ(fs::status(folder.file("B.app/Contents/tool")).permissions(), fs::perms{0755});
    EXPECT_EQ(fs::read_symlink(folder.file("B.app/link")), "nowhere");
    EXPECT_FALSE(fs::exists(folder.file("B.app/Contents/pipe")));
    EXPECT_THAT(names(), UnorderedElementsAre("A.app", "B.app", ofARunningOne));
    fs::remove_all(folder.file("B.app"));
  }
}

TEST_F(CloneCopy, NothingIsLeftOfAFailure) {
  mac = {.cloneError = EIO};
  EXPECT_THAT(copy(), Optional(folder.file("A.app: Input/output error")));
  mac = {.cloneError = EXDEV, .unreadable = "tool"};
  EXPECT_THAT(copy(), Optional(folder.file("A.app/Contents/tool: Permission denied")));
  mac = {.renameError = EEXIST};
  EXPECT_THAT(copy(), Optional(folder.file("B.app: File exists")));
  EXPECT_THAT(names(), ElementsAre("A.app"));
  mac = {};
  EXPECT_TRUE(copy("missing") && copy("A.app/link/") && copy("A.app/Contents/tool"));
  EXPECT_TRUE(copyTree(folder.file("A.app"), folder.file("A.app/Contents/B.app")));
  fs::create_symlink("nowhere", folder.file("B.app"));
  EXPECT_THAT(copy(), Optional(folder.file("B.app: File exists")));
  EXPECT_THAT(mac.calls, ElementsAre());
}

TEST_F(CloneCopy, RemovesAFolderThatForbidsItButNothingBehindALink) {
  fs::create_directory_symlink("A.app", folder.file("link"));
  fs::permissions(folder.file("A.app"), fs::perms{0500});
  EXPECT_TRUE(removeTree(folder.file("link/")));
  EXPECT_EQ(folder.read("A.app/Contents/tool"), "machine code");
  EXPECT_FALSE(removeTree(folder.file("A.app/..")));
  EXPECT_TRUE(removeTree(folder.file("A.app")) && removeTree(folder.file("A.app")));
  EXPECT_THAT(names(), ElementsAre());
}

}  // namespace
}  // namespace revwarden
