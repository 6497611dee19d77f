#pragma once

#include <cstddef>
#include <string>

#include "ports/linux/files/file_identity.h"

namespace revwarden {

enum class FileReading {
  done,
  missing,
  failed,  // `errno` says why
};

/// Reads the whole of a regular file into `contents`, whose memory is reused, and tells which state
/// of the file that was. Never waits for a FIFO or a device: anything but a regular file of at most
/// `maxSize` bytes is a failure. Any thread.
FileReading readRegularFile(const char* path, size_t maxSize, std::string& contents,
                            FileIdentity& identity);

}  // namespace revwarden
