#include "ports/posix/downloaded_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "ports/posix/file_identity.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

Error notWritable(int number) {
  Error error = systemError(number);
  if (error.code.empty()) error.code = "notWritable";
  return error;
}

}  // namespace

Result<> DownloadedFile::create(const std::string& path, int64_t expectedSize) {
  path_ = path;
  expectedSize_ = expectedSize;
  std::error_code failed;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), failed);
  if (failed) return notWritable(failed.value());
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) return notWritable(errno);
  file_ = FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!file_) return notWritable(errno);
  return {};
}

Result<> DownloadedFile::write(std::string_view bytes) {
  if (writeBytes(file_.get(), bytes)) return {};
  return failure();
}

// A full disk may show only when the file is closed, and after that its descriptor is gone. So the
// close that is checked is that of a second one.
Result<> DownloadedFile::finish() {
  const int second = ::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0);
  if (second < 0 || (::close(second) != 0 && errno != EINTR)) return failure();
  file_ = FileDescriptor();
  return {};
}

// The file is useless now. It is emptied first, so that the space it took counts as free.
Error DownloadedFile::failure() const {
  const Error error = notWritable(errno);
  if (error.code != kNoSpace || ::ftruncate(file_.get(), 0) != 0) return error;
  return withSpace(error, file_.get(), expectedSize_);
}

void DownloadedFile::remove() {
  if (isStillThere()) ::unlink(path_.c_str());
  file_ = FileDescriptor();
}

bool DownloadedFile::isStillThere() const {
  struct stat ours {};
  struct stat there {};
  return file_ && ::fstat(file_.get(), &ours) == 0 && ::lstat(path_.c_str(), &there) == 0 &&
         FileIdentity(ours) == FileIdentity(there);
}

}  // namespace revwarden
