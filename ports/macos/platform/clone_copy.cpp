// `copyTree` on a Mac: clonefile(2), otherwise copyfile(3).
#include <copyfile.h>
#include <sys/clonefile.h>
#include <sys/stat.h>
#include <sys/stdio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "ports/posix/copy_tree.h"
#include "ports/posix/remove_tree.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = ".revwarden-";
constexpr std::string_view kExtension = ".bundle";  // a package, but not an application

bool isThere(const std::string& path) {
  struct stat facts;
  return ::lstat(path.c_str(), &facts) == 0;
}

// A slash after a link would mean the target of the link.
std::string withoutSlashesAtEnd(const std::string& path) {
  return path.substr(0, path.find_last_not_of('/') + 1);
}

std::string folderOf(const std::string& path) {
  const std::string above = fs::path(path).parent_path();
  return above.empty() ? "." : above;
}

// Returns true if `folder` is `top` or below it. A copy into itself would never end.
bool isWithin(const std::string& folder, const std::string& top) {
  std::error_code failed;
  fs::path at = fs::canonical(folder, failed);
  while (!failed && !fs::equivalent(at, top, failed) && at.has_relative_path()) {
    at = at.parent_path();
  }
  return !failed && at.has_relative_path();
}

// Returns the process that created the staging directory with this name; 0 for any other name.
pid_t makerOf(std::string_view name) {
  pid_t maker = 0;
  if (!name.starts_with(kPrefix) || !name.ends_with(kExtension)) return 0;
  name.remove_prefix(kPrefix.size());
  std::from_chars(name.data(), name.data() + name.size(), maker);
  return maker;
}

bool hasEnded(pid_t process) {
  return ::kill(process, 0) != 0 && errno == ESRCH;
}

// Removes the staging directories of processes that were killed while they copied.
void removeAbandoned(const std::string& folder) {
  std::error_code failed;
  const fs::directory_iterator end;
  for (fs::directory_iterator entry(folder, failed); !failed && entry != end;
       entry.increment(failed)) {
    const pid_t maker = makerOf(entry->path().filename().string());
    if (maker > 0 && hasEnded(maker)) removeTree(entry->path());
  }
}

// A staging directory beside the destination. The destructor removes whatever is there.
class StagingDirectory {
 public:
  explicit StagingDirectory(const std::string& folder) {
    static std::atomic<unsigned> count = 0;
    path_ = folder + "/" + std::string(kPrefix) + std::to_string(::getpid()) + "-" +
            std::to_string(++count) + std::string(kExtension);
    removeTree(path_);  // of an earlier process with the same id
  }
  StagingDirectory(const StagingDirectory&) = delete;
  StagingDirectory& operator=(const StagingDirectory&) = delete;
  ~StagingDirectory() { removeTree(path_); }

  const std::string& path() const { return path_; }

  /// Renames the directory to `path`, which must not exist. Returns false and sets errno on
  /// failure.
  bool moveTo(const std::string& path) {
    if (::renamex_np(path_.c_str(), path.c_str(), RENAME_EXCL) == 0) return true;
    if (errno != ENOTSUP) return false;
    // The volume does not support RENAME_EXCL. rename(2) replaces at most an empty folder.
    if (!isThere(path)) return std::rename(path_.c_str(), path.c_str()) == 0;
    errno = EEXIST;
    return false;
  }

 private:
  std::string path_;
};

// Copies with copyfile(3), which calls `onStep` for each step.
class PlainCopy {
 public:
  Result<> run(const std::string& source, const std::string& target) {
    constexpr copyfile_flags_t kFlags = COPYFILE_ALL | COPYFILE_RECURSIVE | COPYFILE_NOFOLLOW;
    const std::unique_ptr<Handle, Free> state(copyfile_state_alloc());
    if (!state) return systemError(source, ENOMEM);
    copyfile_state_set(state.get(), COPYFILE_STATE_STATUS_CB,
                       reinterpret_cast<const void*>(&onStep));
    copyfile_state_set(state.get(), COPYFILE_STATE_STATUS_CTX, this);
    if (::copyfile(source.c_str(), target.c_str(), state.get(), kFlags) != 0 && !failure_) {
      failure_ = systemError(source, errno);
    }
    if (failure_) return *failure_;
    return kSuccess;
  }

 private:
  using Handle = std::remove_pointer_t<copyfile_state_t>;
  struct Free {
    void operator()(copyfile_state_t state) const { copyfile_state_free(state); }
  };

  static int onStep(int what, int stage, copyfile_state_t, const char* source, const char* target,
                    void* self) {
    // Leave out an extended attribute that the volume does not support.
    if (what == COPYFILE_COPY_XATTR) return COPYFILE_CONTINUE;
    auto* const copy = static_cast<PlainCopy*>(self);
    if (stage == COPYFILE_ERR) return copy->stopAt(source);
    if (what != COPYFILE_RECURSE_FILE) return COPYFILE_CONTINUE;
    if (stage == COPYFILE_START && !isFileOrLink(source)) return COPYFILE_SKIP;
    if (stage == COPYFILE_FINISH && !clearIdBits(target)) return copy->stopAt(target);
    return COPYFILE_CONTINUE;
  }

  int stopAt(const char* path) {
    if (!failure_) failure_ = systemError(path ? path : "");
    return COPYFILE_QUIT;
  }

  static bool isFileOrLink(const char* path) {
    struct stat facts;
    return ::lstat(path, &facts) != 0 || S_ISREG(facts.st_mode) || S_ISLNK(facts.st_mode);
  }

  // Clears the set-user-ID and set-group-ID bits of a file, as a clone does.
  static bool clearIdBits(const char* path) {
    constexpr mode_t kIdBits = S_ISUID | S_ISGID;
    struct stat facts;
    if (::lstat(path, &facts) != 0) return false;
    if (!S_ISREG(facts.st_mode) || (facts.st_mode & kIdBits) == 0) return true;
    return ::chmod(path, facts.st_mode & 0777) == 0;
  }

  std::optional<Error> failure_;  // the first one
};

Result<> cloneOrCopy(const std::string& source, const std::string& target) {
  constexpr uint32_t kFlags = CLONE_NOFOLLOW | CLONE_NOOWNERCOPY;
  if (::clonefile(source.c_str(), target.c_str(), kFlags) == 0) return kSuccess;
  if (errno != ENOTSUP && errno != EXDEV) return systemError(source, errno);
  removeTree(target);
  return PlainCopy().run(source, target);
}

}  // namespace

Result<> copyTree(const std::string& source, const std::string& destination) {
  const std::string from = withoutSlashesAtEnd(source), to = withoutSlashesAtEnd(destination);
  struct stat facts;
  if (::lstat(from.c_str(), &facts) != 0) return systemError(from, errno);
  if (!S_ISDIR(facts.st_mode)) return Error{"notFolder", systemError(from, ENOTDIR).message};
  if (isThere(to)) return systemError(to, EEXIST);
  const std::string above = folderOf(to);
  if (isWithin(above, from)) return systemError(to, EINVAL);
  removeAbandoned(above);
  StagingDirectory staging(above);
  if (Result<> copied = cloneOrCopy(from, staging.path()); !copied) return copied;
  if (!staging.moveTo(to)) return systemError(to, errno);
  return kSuccess;
}

}  // namespace revwarden
