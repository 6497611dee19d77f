#pragma once

#include <optional>
#include <string>

#include "ports/posix/file_descriptor.h"

namespace revwarden {

/// Makes a folder that only this user can use, or checks the one that is there: a folder, no link,
/// of this user, that nobody else can write; its mode becomes 0700. The folder that it lies in must
/// exist. Absent on success, else the reason.
std::optional<std::string> makePrivateFolder(const std::string& path);

/// The folder for temporary files, or why there is none.
struct TemporaryFolder {
  std::string path;
  std::optional<std::string> error;
  FileDescriptor held;  // what makes it this process's alone; none where that is not asked for
};

/// The private folder "/var/tmp/revwarden-UID", whatever the environment says: for programs that
/// are run with none.
TemporaryFolder temporaryFolderOfUser();

/// TMPDIR when it is a full path, else /var/tmp; in a folder that others can write or that is
/// another user's, such as the latter, a private folder "revwarden-UID". While another process of
/// the user has it, a folder "agent-N" in it: two agents must not unpack over each other. Cleaners
/// of temporary folders leave alone what is held. Not to be called while another thread changes the
/// environment.
TemporaryFolder takeTemporaryFolder();

}  // namespace revwarden
