#pragma once

#include <string>

#include "base/result.h"
#include "ports/posix/file_descriptor.h"

// Folders for temporary files that no other user can read or write.
namespace revwarden {

/// Makes a folder that only this user can use, or checks the existing one: it must be a folder, no
/// link, of this user, and not writable for others; its mode becomes 0700. The folder above it must
/// exist.
Result<> makePrivateFolder(const std::string& path);

/// The private folder "/var/tmp/revwarden-UID", whatever the environment says: for programs that
/// run without one.
Result<std::string> temporaryFolderOfUser();

/// A folder for temporary files that this process has for itself.
struct TemporaryFolder {
  std::string path;
  FileDescriptor held;  // its lock; programs that clean temporary folders spare a locked one
};

/// Takes TMPDIR if that is a full path, else /var/tmp; in one that other users can write or own,
/// the private folder "revwarden-UID". If another process of the user has taken that, a folder
/// "agent-N" in it, so that two agents do not unpack over each other. Not to be called while
/// another thread changes the environment.
Result<TemporaryFolder> takeTemporaryFolder();

}  // namespace revwarden
