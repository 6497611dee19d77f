#include "ports/linux/system/file_user_defaults.h"

#include <fcntl.h>
#include <glib.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <utility>

#include "ports/linux/property_lists/property_list.h"
#include "ports/posix/directory.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/system_clock.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

constexpr size_t kMaxFileSize = size_t{512} << 20;
constexpr std::string_view kTemporarySuffix = ".tmp";

std::string folderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == path.npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string_view nameOf(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

// What failed on a path: "cannot read PATH: Permission denied".
Error cannot(const std::string& action, const std::string& path) {
  return {"", "cannot " + action + " " + systemError(path).message};
}

bool writeFile(int file, const std::string& contents) {
  if (contents.size() > kMaxFileSize) {
    errno = EFBIG;
    return false;
  }
  // The umask may have taken away the owner's rights.
  return fchmod(file, 0600) == 0 && writeBytes(file, contents) && fsync(file) == 0;
}

bool syncFolder(const std::string& path) {
  const FileDescriptor folder = openDirectory(path);
  // EINVAL: the file system cannot sync a folder, and does not need to.
  return folder && (fsync(folder.get()) == 0 || errno == EINVAL);
}

// Returns true if `name` is that of a temporary file, "defaults.plist.PID.tmp", that no process is
// writing. To be called while this process writes none.
bool isLeftover(std::string_view name, std::string_view base) {
  if (!name.starts_with(base) || !name.ends_with(kTemporarySuffix)) return false;
  name.remove_prefix(base.size());
  if (name.size() < 2 + kTemporarySuffix.size() || name.front() != '.') return false;
  name = name.substr(1, name.size() - 1 - kTemporarySuffix.size());
  pid_t pid = 0;
  const auto [rest, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
  if (error != std::errc() || rest != name.data() + name.size() || pid <= 0) return false;
  return pid == getpid() || (kill(pid, 0) != 0 && errno == ESRCH);
}

}  // namespace

FileUserDefaults::FileUserDefaults(std::string path, std::function<void(std::string)> diagnose)
    : path_(std::move(path)), folder_(folderOf(path_)), diagnose_(std::move(diagnose)) {}

std::optional<Dictionary> FileUserDefaults::dictionaryForKey(std::string_view key) {
  const std::lock_guard lock(mutex_);
  if (const auto set = pending_.find(key); set != pending_.end()) return set->second;
  if (!reported(refresh())) return std::nullopt;
  return root_.dictionaryFor(key);
}

void FileUserDefaults::setDictionary(const Dictionary& dictionary, std::string_view key) {
  const std::lock_guard lock(mutex_);
  pending_.insert_or_assign(std::string(key), dictionary);
}

bool FileUserDefaults::synchronize() {
  const std::lock_guard lock(mutex_);
  if (!beginWrite()) return false;
  const bool written = reported(writePending());
  endWrite(written);
  return written;
}

bool FileUserDefaults::finishWritesAndClose(std::chrono::milliseconds limit) {
  std::unique_lock lock(writeMutex_);
  isClosed_ = true;
  return writeEnded_.wait_for(lock, limit, [this] { return !isWriting_; });
}

bool FileUserDefaults::beginWrite() {
  const std::lock_guard lock(writeMutex_);
  isWriting_ = !isClosed_;
  return isWriting_;
}

void FileUserDefaults::endWrite(bool written) {
  const std::lock_guard lock(writeMutex_);
  isWriting_ = false;
  if (written) {
    unsavedSince_.reset();
  } else if (!unsavedSince_) {
    unsavedSince_ = SystemClock().now();
  }
  writeEnded_.notify_all();
}

std::optional<Date> FileUserDefaults::unsavedSince() const {
  const std::lock_guard lock(writeMutex_);
  return unsavedSince_;
}

bool FileUserDefaults::reported(const Result<>& result) const {
  if (!result) diagnose_(result.error().message);
  return result.ok();
}

Result<> FileUserDefaults::writePending() {
  if (pending_.empty()) return {};
  if (Result<> refreshed = refresh(); !refreshed) return refreshed;
  if (wasUnreadable_) {
    return Error{"", "not replacing " + path_ + ", which could not be read before"};
  }
  DictionaryBuilder builder(root_);
  for (const auto& [key, dictionary] : pending_) builder.set(key, dictionary);
  Dictionary root = builder.build();
  if (Result<> replaced = replaceFile(writeXmlPropertyList(root)); !replaced) return replaced;
  root_ = std::move(root);
  pending_.clear();
  return {};
}

Result<> FileUserDefaults::refresh() {
  struct stat facts {};
  if (state_ && stat(path_.c_str(), &facts) == 0 && *state_ == FileState(facts)) return {};
  state_.reset();
  root_ = Dictionary();
  return readRoot();
}

Result<> FileUserDefaults::readRoot() {
  std::string contents;
  const Result<FileState> state = readRegularFile(path_.c_str(), kMaxFileSize, contents);
  if (!state) {
    wasUnreadable_ = state.error().code != kMissing;
    if (!wasUnreadable_) return {};
    return Error{"", "cannot read " + state.error().message};
  }
  const bool isSettled = state->isSettled();
  const std::optional<Value> value = readPropertyList(contents);
  const Dictionary* root = value ? value->as<Dictionary>() : nullptr;
  if (!root) return setDamagedFileAside(*state);
  root_ = *root;
  if (isSettled) state_ = *state;
  return {};
}

Result<> FileUserDefaults::setDamagedFileAside(const FileState& state) {
  struct stat facts {};
  if (stat(path_.c_str(), &facts) != 0 || FileState(facts) != state) {
    return readRoot();  // Another process has replaced it, perhaps by a valid one.
  }
  for (int number = 1;; ++number) {
    const std::string aside = path_ + ".damaged-" + std::to_string(number);
    if (renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0) {
      diagnose_("the settings in " + path_ + " are damaged; renamed to " + aside);
      return {};
    }
    if (errno != EEXIST) return cannot("rename the damaged", path_);
  }
}

Result<> FileUserDefaults::replaceFile(const std::string& contents) {
  if (g_mkdir_with_parents(folder_.c_str(), 0700) != 0) return cannot("make", folder_);
  removeLeftovers();
  const std::string temporary =
      path_ + "." + std::to_string(getpid()) + std::string(kTemporarySuffix);
  const FileDescriptor file(
      open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) return cannot("create", temporary);
  if (!writeFile(file.get(), contents) || rename(temporary.c_str(), path_.c_str()) != 0) {
    const Error error = cannot("write", path_);
    unlink(temporary.c_str());
    return error;
  }
  state_.reset();
  if (!syncFolder(folder_)) return cannot("sync", folder_);
  struct stat facts {};
  if (fstat(file.get(), &facts) == 0) state_ = FileState(facts);
  return {};
}

void FileUserDefaults::removeLeftovers() const {
  const FileDescriptor folder = openDirectory(folder_);
  if (!folder) return;
  forEachEntry(folder.get(), [&](const char* name, unsigned char) {
    if (isLeftover(name, nameOf(path_))) unlinkat(folder.get(), name, 0);
    return true;
  });
}

}  // namespace revwarden
