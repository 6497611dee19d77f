#include "ports/linux/files/temporary_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace revwarden {
namespace {

std::optional<std::string> makePrivate(int folder, const std::string& path) {
  struct stat facts;
  if (fstat(folder, &facts) != 0) return path + ": " + strerror(errno);
  if (facts.st_uid != geteuid()) return path + " belongs to another user";
  if (facts.st_mode & (S_IWGRP | S_IWOTH)) return path + " can be written by other users";
  if ((facts.st_mode & 07777) == 0700 || fchmod(folder, 0700) == 0) return std::nullopt;
  return path + ": " + strerror(errno);
}

bool othersCanWrite(const std::string& path) {
  struct stat facts;
  return stat(path.c_str(), &facts) == 0 &&
         (facts.st_uid != geteuid() || (facts.st_mode & (S_IWGRP | S_IWOTH)));
}

TemporaryFolder privateFolderIn(const std::string& shared) {
  std::string path = shared + "/revwarden-" + std::to_string(geteuid());
  std::optional<std::string> error = makePrivateFolder(path);
  return {std::move(path), std::move(error), {}};
}

TemporaryFolder namedFolder() {
  const char* const named = getenv("TMPDIR");
  if (!named || *named != '/') return temporaryFolderOfUser();
  return othersCanWrite(named) ? privateFolderIn(named) : TemporaryFolder{named, {}, {}};
}

}  // namespace

std::optional<std::string> makePrivateFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return path + ": " + strerror(errno);
  const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (folder < 0) return path + ": " + strerror(errno);
  std::optional<std::string> error = makePrivate(folder, path);
  close(folder);
  return error;
}

TemporaryFolder temporaryFolderOfUser() {
  return privateFolderIn("/var/tmp");
}

TemporaryFolder takeTemporaryFolder() {
  TemporaryFolder folder = namedFolder();
  const std::string shared = folder.path;
  for (int number = 2; !folder.error; ++number) {
    folder.held = FileDescriptor(open(folder.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const bool isTaken =
        folder.held && flock(folder.held.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (!isTaken) break;
    folder.path = shared + "/agent-" + std::to_string(number);
    folder.error = makePrivateFolder(folder.path);
  }
  return folder;
}

}  // namespace revwarden
