#include "host/socket_claim.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>

#include "ports/posix/system_error.h"
#include "protocol/socket_path.h"

namespace revwarden {
namespace {

Error refusal(const std::string& message) {
  return {"", message};
}

std::string lockPath(const std::string& path) {
  return path + ".lock";
}

std::optional<sockaddr_un> addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return std::nullopt;
  std::memcpy(address.sun_path, path.data(), path.size());
  return address;
}

FileDescriptor newSocket() {
  return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

// Creates the folder and those above it with mode 0700 where they are missing.
bool makeFolder(const std::string& folder) {
  if (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) return true;
  const std::string parent = std::filesystem::path(folder).parent_path();
  if (errno != ENOENT || parent.empty() || parent == folder) return false;
  return makeFolder(parent) && (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST);
}

// Makes sure that no other user can put a socket into the folder. The default folder, `isOurs`, is
// made private; any other one has to be.
Result<> prepareFolder(const std::string& folder, bool isOurs) {
  if (!makeFolder(folder)) return systemError("cannot create the folder " + folder);
  // Other users may write in the folder above the default one, and put a link there.
  const FileDescriptor opened(
      ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | (isOurs ? O_NOFOLLOW : 0)));
  struct stat info {};
  if (!opened || ::fstat(opened.get(), &info) != 0) {
    return systemError("cannot open the folder " + folder);
  }
  if (info.st_uid != ::geteuid() && (isOurs || info.st_uid != 0)) {
    return refusal("the folder " + folder + " belongs to another user");
  }
  if (isOurs && (info.st_mode & 0777) != 0700 && ::fchmod(opened.get(), 0700) != 0) {
    return systemError("cannot make the folder " + folder + " private");
  }
  if (!isOurs && (info.st_mode & 0022) != 0) {
    return refusal("other users can write in the folder " + folder + "; choose a private one");
  }
  return kSuccess;
}

// Locks the file at `path`. Returns none, with errno EWOULDBLOCK, if another process holds the
// lock.
FileDescriptor lockFile(const std::string& path) {
  while (true) {
    FileDescriptor lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) return {};
    // The previous holder may have removed the file after it was opened here.
    struct stat locked {
    }, present{};
    if (::fstat(lock.get(), &locked) == 0 && ::stat(path.c_str(), &present) == 0 &&
        locked.st_ino == present.st_ino && locked.st_dev == present.st_dev) {
      return lock;
    }
  }
}

bool isListenedTo(const sockaddr_un& address) {
  const FileDescriptor probe = newSocket();
  return ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
         errno == EAGAIN;
}

// Removes an abandoned socket at the path.
Result<> clearPath(const std::string& path, const sockaddr_un& address) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return kSuccess;
  if (!S_ISSOCK(info.st_mode)) return refusal(path + " exists and is no socket");
  if (isListenedTo(address)) return refusal("an agent is already running on " + path);
  if (::unlink(path.c_str()) != 0) return systemError("cannot remove the old socket " + path);
  return kSuccess;
}

}  // namespace

Result<std::unique_ptr<SocketClaim>> SocketClaim::create(const std::string& path) {
  const auto address = addressOf(path);
  if (path.empty()) return refusal("the path of the socket is empty");
  if (!address) return refusal("the path of the socket is too long: " + path);
  const std::string folder = std::filesystem::path(path).parent_path();
  const Result<> prepared =
      prepareFolder(folder.empty() ? "." : folder, path == defaultSocketPath());
  if (!prepared) return prepared.error();
  FileDescriptor lock = lockFile(lockPath(path));
  if (!lock && errno == EWOULDBLOCK) return refusal("an agent is already running on " + path);
  if (!lock) return systemError("cannot lock " + lockPath(path));
  std::unique_ptr<SocketClaim> claim(new SocketClaim(path, std::move(lock)));
  const Result<> cleared = clearPath(path, *address);
  if (cleared) return claim;
  ::unlink(lockPath(path).c_str());
  claim->isReleased_ = true;  // the file at the path is not ours to remove
  return cleared.error();
}

SocketClaim::~SocketClaim() {
  release();
}

Result<FileDescriptor> SocketClaim::listen() {
  const auto address = addressOf(path_);
  FileDescriptor listener = newSocket();
  // bind() gives the path the mode of the descriptor, so the path never has a wider one.
  if (listener && ::fchmod(listener.get(), 0600) == 0 &&
      ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) == 0 &&
      ::listen(listener.get(), SOMAXCONN) == 0) {
    return listener;
  }
  return systemError("cannot listen on " + path_);
}

void SocketClaim::release() {
  if (isReleased_.exchange(true)) return;
  ::unlink(path_.c_str());
  ::unlink(lockPath(path_).c_str());
}

}  // namespace revwarden
