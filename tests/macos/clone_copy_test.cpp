#include <copyfile.h>
#include <gmock/gmock.h>
#include <removefile.h>
#include <sys/clonefile.h>
#include <sys/stat.h>
#include <sys/stdio.h>

#include "ports/posix/copy_tree.h"
#include "ports/posix/remove_tree.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/scratch_folder.h"

// Tests the order of calls and the clean-up with stand-ins for the system calls of a Mac, which can
// be made to fail. Does not test how the real calls behave.
namespace fs = std::filesystem;

namespace {

struct {
  std::vector<std::string> calls = {};
  int cloneError = 0, renameError = 0;
  std::string unreadable = {};  // a file name
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
  fs::create_directory(to);  // a failed clone can leave something behind
  constexpr auto kOptions = fs::copy_options::recursive | fs::copy_options::copy_symlinks;
  if (mac.cloneError == 0) fs::copy(from, to, kOptions);
  return answer("clone", mac.cloneError);
}

int copyfile(const char* from, const char* to, copyfile_state_t state, copyfile_flags_t flags) {
  using OnStep = int(int, int, copyfile_state_t, const char*, const char*, void*);
  auto* const onStep = reinterpret_cast<OnStep*>(state->onStep);
  EXPECT_EQ(flags, COPYFILE_ALL | COPYFILE_RECURSIVE | COPYFILE_NOFOLLOW);
  if (!fs::create_directory(to)) return answer("copy", EEXIST);
  for (const auto& entry : fs::recursive_directory_iterator(from)) {
    const fs::path& path = entry.path();
    const fs::path target = to / path.lexically_relative(from);
    const auto step = [&](int stage) {
      return onStep(COPYFILE_RECURSE_FILE, stage, state, path.c_str(), target.c_str(),
                    state->context);
    };
    errno = EACCES;
    if (path.filename() == mac.unreadable && step(COPYFILE_ERR) == COPYFILE_QUIT) return -1;
    if (fs::is_directory(entry.symlink_status())) {
      fs::create_directory(target);
    } else if (step(COPYFILE_START) != COPYFILE_SKIP) {
      fs::copy(path, target, fs::copy_options::copy_symlinks);
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
  return answer("rename", mac.renameError ? mac.renameError : rename(from, to));
}

namespace revwarden {
namespace {

using testing::ElementsAre;
using testing::Optional;

struct CloneCopy : testing::Test, ScratchFolder {
  CloneCopy() {
    write("A.app/Contents/tool", "machine code");
    fs::permissions(file("A.app/Contents/tool"), fs::perms{06755});
    fs::create_symlink("nowhere", file("A.app/link"));
  }
  std::optional<std::string> copy(const std::string& source = "A.app/") {
    return errorOf(copyTree(file(source), file("B.app")));
  }
  auto count() const { return std::distance(fs::directory_iterator(path()), {}); }
};

TEST_F(CloneCopy, ClonesIntoAStagingDirectoryAndRenamesIt) {
  for (const int renameError : {0, ENOTSUP}) {
    mac = {.renameError = renameError};
    EXPECT_EQ(copy(), std::nullopt);
    EXPECT_THAT(mac.calls, ElementsAre("clone", "rename"));
    EXPECT_EQ(read("B.app/Contents/tool"), "machine code");
    EXPECT_EQ(count(), 2);
    fs::remove_all(file("B.app"));
  }
}

TEST_F(CloneCopy, CopiesIfTheVolumeCannotCloneAndRemovesAbandonedDirectories) {
  const std::string abandoned = ".revwarden-4194305-1.bundle";  // greater than any process id
  const std::string inUse = ".revwarden-" + std::to_string(getppid()) + "-1.bundle";
  mkfifo(file("A.app/Contents/pipe").c_str(), 0600);
  for (const int error : {ENOTSUP, EXDEV}) {
    mac = {.cloneError = error};
    fs::create_directory(file(abandoned));
    fs::create_directory(file(inUse));
    EXPECT_EQ(copy(), std::nullopt);
    EXPECT_THAT(mac.calls, ElementsAre("remove", "clone", "remove", "copy", "rename"));
    EXPECT_EQ(fs::status(file("B.app/Contents/tool")).permissions(), fs::perms{0755});
    EXPECT_EQ(fs::read_symlink(file("B.app/link")), "nowhere");
    EXPECT_FALSE(fs::exists(file("B.app/Contents/pipe")));
    EXPECT_TRUE(fs::exists(file(inUse)) && count() == 3);
    fs::remove_all(file("B.app"));
  }
}

TEST_F(CloneCopy, AFailedCopyLeavesNothing) {
  mac = {.cloneError = EIO};
  EXPECT_THAT(copy(), Optional(file("A.app: Input/output error")));
  mac = {.cloneError = EXDEV, .unreadable = "tool"};
  EXPECT_THAT(copy(), Optional(file("A.app/Contents/tool: Permission denied")));
  mac = {.renameError = EEXIST};
  EXPECT_THAT(copy(), Optional(file("B.app: File exists")));
  EXPECT_EQ(count(), 1);
  mac = {};
  EXPECT_TRUE(copy("missing") && copy("A.app/link/") && copy("A.app/Contents/tool"));
  EXPECT_FALSE(copyTree(file("A.app"), file("A.app/Contents/B.app")));
  write("B.app", "");
  EXPECT_THAT(copy(), Optional(file("B.app: File exists")));
  EXPECT_THAT(mac.calls, ElementsAre());
}

TEST_F(CloneCopy, RemovesReadOnlyFoldersAndFollowsNoLink) {
  fs::create_directory_symlink("A.app", file("link"));
  fs::permissions(file("A.app"), fs::perms{0500});
  EXPECT_TRUE(removeTree(file("link/")));
  EXPECT_EQ(read("A.app/Contents/tool"), "machine code");
  EXPECT_FALSE(removeTree(file("A.app/..")));
  EXPECT_TRUE(removeTree(file("A.app")) && removeTree(file("A.app")));
  EXPECT_EQ(count(), 0);
}

}  // namespace
}  // namespace revwarden
