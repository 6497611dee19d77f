#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/result.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// The file that a download writes, under its final name from the start. The destructor removes it
/// unless it was finished. Used by one thread.
///
/// Errors say why, not where. Codes: "noSpace", with what the download needs and what is free;
/// "notWritable".
class DownloadedFile {
 public:
  DownloadedFile() = default;
  DownloadedFile(const DownloadedFile&) = delete;
  DownloadedFile& operator=(const DownloadedFile&) = delete;
  ~DownloadedFile() { remove(); }

  /// Replaces what is at the path, except a folder, by a new, empty file: a link is replaced, not
  /// followed. Makes missing folders above it. `expectedSize` is in bytes, -1 if unknown.
  Result<> create(const std::string& path, int64_t expectedSize);
  Result<> write(std::string_view bytes);
  /// Closes the file, which stays.
  Result<> finish();

  /// Removes an unfinished file, unless another one has taken its place.
  void remove();

  const std::string& path() const { return path_; }

 private:
  Error failure() const;
  bool isStillThere() const;

  std::string path_;
  int64_t expectedSize_ = -1;
  FileDescriptor file_;  // none before create() and after finish()
};

}  // namespace revwarden
