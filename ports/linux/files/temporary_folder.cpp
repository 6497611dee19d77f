#include "ports/linux/files/temporary_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "ports/posix/directory.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

bool othersCanWrite(const std::string& path) {
  struct stat facts;
  return stat(path.c_str(), &facts) == 0 &&
         (facts.st_uid != geteuid() || (facts.st_mode & (S_IWGRP | S_IWOTH)));
}

Result<std::string> privateFolderIn(const std::string& shared) {
  std::string path = shared + "/revwarden-" + std::to_string(geteuid());
  const Result<> made = makePrivateFolder(path);
  if (!made) return made.error();
  return path;
}

Result<std::string> namedFolder() {
  const char* const named = getenv("TMPDIR");
  if (!named || *named != '/') return temporaryFolderOfUser();
  return othersCanWrite(named) ? privateFolderIn(named) : std::string(named);
}

}  // namespace

Result<> makePrivateFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return systemError(path);
  const FileDescriptor folder = openDirectoryAt(AT_FDCWD, path.c_str());
  struct stat facts;
  if (!folder || fstat(folder.get(), &facts) != 0) return systemError(path);
  if (facts.st_uid != geteuid()) return Error{"", path + " belongs to another user"};
  if (facts.st_mode & (S_IWGRP | S_IWOTH)) return Error{"", path + " is writable for other users"};
  if ((facts.st_mode & 07777) == 0700 || fchmod(folder.get(), 0700) == 0) return {};
  return systemError(path);
}

Result<std::string> temporaryFolderOfUser() {
  return privateFolderIn("/var/tmp");
}

Result<TemporaryFolder> takeTemporaryFolder() {
  const Result<std::string> shared = namedFolder();
  if (!shared) return shared.error();
  TemporaryFolder folder{*shared, {}};
  for (int number = 2;; ++number) {
    folder.held = openDirectory(folder.path);
    // Without a folder or without locks in this file system there is nothing to wait for.
    const bool isTaken =
        folder.held && flock(folder.held.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (!isTaken) return folder;
    folder.path = *shared + "/agent-" + std::to_string(number);
    if (const Result<> made = makePrivateFolder(folder.path); !made) return made.error();
  }
}

}  // namespace revwarden
