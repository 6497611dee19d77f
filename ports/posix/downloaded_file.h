#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/url_download.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// The file that a download writes, under its final name from the start. Destroying the object
/// removes it unless it was finished. Used by one thread.
class DownloadedFile {
 public:
  DownloadedFile() = default;
  DownloadedFile(const DownloadedFile&) = delete;
  DownloadedFile& operator=(const DownloadedFile&) = delete;
  ~DownloadedFile() { remove(); }

  // Each answers why it failed; absent on success.

  /// Puts a new, empty file in the place of whatever is there, except a folder: a link is replaced,
  /// not followed. Makes missing folders above it.
  std::optional<URLDownloadError> create(const std::string& path);
  std::optional<URLDownloadError> write(std::string_view bytes);
  /// Closes the file, which stays.
  std::optional<URLDownloadError> finish();

  /// Removes an unfinished file, unless another one has taken its place.
  void remove();

 private:
  URLDownloadError error(const char* action, int code) const;
  bool isStillThere() const;

  std::string path_;
  FileDescriptor file_;  // none before create() and after finish()
};

}  // namespace revwarden
