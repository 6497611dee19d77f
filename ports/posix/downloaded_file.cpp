#include "ports/posix/downloaded_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "ports/posix/file_identity.h"

namespace revwarden {

URLDownloadError DownloadedFile::error(const char* action, int code) const {
  const bool isFull = code == ENOSPC || code == EDQUOT || code == EFBIG;
  return {isFull ? "noSpace" : "notWritable", std::generic_category().message(code),
          std::string(action) + " " + path_};
}

std::optional<URLDownloadError> DownloadedFile::create(const std::string& path) {
  path_ = path;
  std::error_code failed;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), failed);
  if (failed) return error("Cannot make the folder of", failed.value());
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) return error("Cannot replace", errno);
  file_ = FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!file_) return error("Cannot create", errno);
  return std::nullopt;
}

std::optional<URLDownloadError> DownloadedFile::write(std::string_view bytes) {
  if (!writeBytes(file_.get(), bytes)) return error("Cannot write", errno);
  return std::nullopt;
}

// A full disk may show only when the file is closed. Its descriptor is gone then, so the close that
// is looked at is that of a second one.
std::optional<URLDownloadError> DownloadedFile::finish() {
  const int second = ::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0);
  if (second < 0 || (::close(second) != 0 && errno != EINTR)) return error("Cannot write", errno);
  file_ = FileDescriptor();
  return std::nullopt;
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
