#include "ports/linux/system/file_user_defaults.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <utility>

#include "ports/linux/files/regular_file.h"
#include "ports/linux/property_lists/property_list.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/system_clock.h"

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

bool isFolder(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// With the folders above it.
bool makeFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0700) == 0 || (errno == EEXIST && isFolder(path))) return true;
  return errno == ENOENT && folderOf(path) != path && makeFolder(folderOf(path)) &&
         mkdir(path.c_str(), 0700) == 0;
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
  const FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // Some file systems cannot sync a folder, and need not.
  return folder && (fsync(folder.get()) == 0 || errno == EINVAL);
}

// Whether `name` is that of a temporary file, "defaults.plist.PID.tmp", that no process writes now.
// This process writes none when it asks.
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
  if (!refresh()) return std::nullopt;
  return root_.dictionaryFor(key);
}

void FileUserDefaults::setDictionary(const Dictionary& dictionary, std::string_view key) {
  const std::lock_guard lock(mutex_);
  pending_.insert_or_assign(std::string(key), dictionary);
}

bool FileUserDefaults::synchronize() {
  const std::lock_guard lock(mutex_);
  if (!beginWrite()) return false;
  const bool written = writePending();
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

bool FileUserDefaults::writePending() {
  if (pending_.empty()) return true;
  if (!refresh()) return false;
  if (wasUnreadable_) {
    diagnose_("not replacing " + path_ + ", which could not be read before");
    return false;
  }
  DictionaryBuilder builder(root_);
  for (const auto& [key, dictionary] : pending_) builder.set(key, dictionary);
  Dictionary root = builder.build();
  if (!replaceFile(writeXmlPropertyList(root))) return false;
  root_ = std::move(root);
  pending_.clear();
  return true;
}

// Brings `root_` up to date with the file. False when that cannot be read.
bool FileUserDefaults::refresh() {
  struct stat status {};
  if (identity_ && stat(path_.c_str(), &status) == 0 && *identity_ == FileIdentity(status)) {
    return true;
  }
  identity_.reset();
  root_ = Dictionary();
  return readRoot();
}

bool FileUserDefaults::readRoot() {
  std::string contents;
  FileIdentity identity;
  const FileReading reading = readRegularFile(path_.c_str(), kMaxFileSize, contents, identity);
  if (reading != FileReading::done) wasUnreadable_ = reading == FileReading::failed;
  if (reading == FileReading::failed) return fail("cannot read", path_);
  if (reading == FileReading::missing) return true;
  const bool isSettled = identity.isSettled();
  const std::optional<Value> value = readPropertyList(contents);
  const Dictionary* root = value ? value->as<Dictionary>() : nullptr;
  if (!root) return setDamagedFileAside(identity);
  root_ = *root;
  if (isSettled) identity_ = identity;
  return true;
}

bool FileUserDefaults::setDamagedFileAside(const FileIdentity& identity) {
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0 || FileIdentity(status) != identity) {
    return readRoot();  // replaced meanwhile, perhaps by a sound one
  }
  for (int number = 1;; ++number) {
    const std::string aside = path_ + ".damaged-" + std::to_string(number);
    if (renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0) {
      diagnose_("the settings in " + path_ + " are damaged; renamed to " + aside);
      return true;
    }
    if (errno != EEXIST) return fail("cannot rename the damaged", path_);
  }
}

bool FileUserDefaults::replaceFile(const std::string& contents) {
  if (!makeFolder(folder_)) return fail("cannot make", folder_);
  removeLeftovers();
  const std::string temporary =
      path_ + "." + std::to_string(getpid()) + std::string(kTemporarySuffix);
  const FileDescriptor file(
      open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) return fail("cannot create", temporary);
  if (!writeFile(file.get(), contents) || rename(temporary.c_str(), path_.c_str()) != 0) {
    fail("cannot write", path_);
    unlink(temporary.c_str());
    return false;
  }
  identity_.reset();
  if (!syncFolder(folder_)) return fail("cannot sync", folder_);
  struct stat status {};
  if (fstat(file.get(), &status) == 0) identity_ = FileIdentity(status);
  return true;
}

void FileUserDefaults::removeLeftovers() const {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(folder_.c_str()), closedir);
  if (!folder) return;
  while (const dirent* entry = readdir(folder.get())) {
    if (isLeftover(entry->d_name, nameOf(path_))) {
      unlinkat(dirfd(folder.get()), entry->d_name, 0);
    }
  }
}

bool FileUserDefaults::fail(std::string_view action, const std::string& path) const {
  const int error = errno;
  diagnose_(std::string(action) + " " + path + ": " + std::strerror(error));
  errno = error;
  return false;
}

}  // namespace revwarden
