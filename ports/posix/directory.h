#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ports/posix/file_descriptor.h"

// Open directories and their entries, by descriptor instead of by path, so that nobody can redirect
// an operation by renaming a folder or putting a link in its place. Functions report a failure as
// the system calls do: `errno` holds the reason. Any thread. Linux only.
namespace revwarden {

/// Opens the directory at a path for reading. Links are followed.
FileDescriptor openDirectory(const std::string& path);

/// Opens the directory `name` in the open directory `above` for reading. Fails for a link.
FileDescriptor openDirectoryAt(int above, const char* name);

/// Opens `path`, relative to the open directory `folder`, with the flags of open(2) and O_CLOEXEC.
/// Links are followed only as far as they stay inside `folder`; EXDEV means that the path leads out
/// of it.
FileDescriptor openBeneath(int folder, const std::string& path, int flags);

/// Returns the text of the link `name` in an open directory, or nullopt if it cannot be read.
std::optional<std::string> linkText(int folder, const char* name);

/// A name in an open directory, whether or not something is there. It stays the same place when the
/// directory is renamed.
struct DirectoryEntry {
  FileDescriptor folder;  // O_PATH: for use with names, not for reading
  std::string name;
  std::string path;  // as asked for; for messages

  /// Returns nullopt when the directory cannot be opened, or when the path ends in no name ("/",
  /// "..").
  static std::optional<DirectoryEntry> at(const std::string& path);

  /// The same for a path that leads through no link.
  static std::optional<DirectoryEntry> atPathWithoutLinks(const std::string& path);
};

/// Receives the name of an entry and its type: one of the DT_ values of <dirent.h>, never
/// DT_UNKNOWN. Returns false to end the enumeration. May remove the entry.
using EntryUse = std::function<bool(const char* name, unsigned char type)>;

/// Calls `use` for every entry of an open directory except "." and "..", in the order of the file
/// system. Returns false when `use` did or the directory cannot be read. Moves the descriptor's
/// position.
bool forEachEntry(int folder, const EntryUse& use);

/// The names of the entries of a directory except "." and "..", in the order of the file system.
/// Empty when it cannot be read.
std::vector<std::string> entryNames(const std::string& path);

}  // namespace revwarden
