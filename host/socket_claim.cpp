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

#include "protocol/socket_path.h"

namespace revwarden {
namespace {

std::string reason(const std::string& what) {
  return what + ": " + std::strerror(errno);
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

/// Makes the folder and those above it, private to this user, where they are missing.
bool makeFolder(const std::string& folder) {
  if (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) return true;
  const std::string parent = std::filesystem::path(folder).parent_path();
  if (errno != ENOENT || parent.empty() || parent == folder) return false;
  return makeFolder(parent) && (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST);
}

/// Makes sure that nobody else can put a socket of his own into the folder. Why not, else empty.
std::string prepareFolder(const std::string& folder, bool isOurs) {
  if (!makeFolder(folder)) return reason("cannot make the folder " + folder);
  // Others may write in the folder above ours, and put a link there to anything.
  const FileDescriptor opened(
      ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | (isOurs ? O_NOFOLLOW : 0)));
  struct stat info {};
  if (!opened || ::fstat(opened.get(), &info) != 0) {
    return reason("cannot open the folder " + folder);
  }
  if (info.st_uid != ::geteuid() && (isOurs || info.st_uid != 0)) {
    return "the folder " + folder + " belongs to another user";
  }
  if (isOurs && (info.st_mode & 0777) != 0700 && ::fchmod(opened.get(), 0700) != 0) {
    return reason("cannot make the folder " + folder + " private");
  }
  if (!isOurs && (info.st_mode & 0022) != 0) {
    return "the folder " + folder + " can be written by other users; it must be a private one";
  }
  return {};
}

/// Locks the file at `path`; none when another process has it locked.
FileDescriptor lockFile(const std::string& path) {
  while (true) {
    FileDescriptor lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) return {};
    // The holder before us may have removed the file after we had opened it.
    struct stat locked {
    }, present{};
    if (::fstat(lock.get(), &locked) == 0 && ::stat(path.c_str(), &present) == 0 &&
        locked.st_ino == present.st_ino && locked.st_dev == present.st_dev) {
      return lock;
    }
  }
}

bool somebodyListens(const sockaddr_un& address) {
  const FileDescriptor probe = newSocket();
  return ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
         errno == EAGAIN;
}

/// Removes a socket that nobody listens on. Why the path is not free then, else empty.
std::string clearPath(const std::string& path, const sockaddr_un& address) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return {};
  if (!S_ISSOCK(info.st_mode)) return path + " exists and is no socket";
  if (somebodyListens(address)) return "an agent is already running on " + path;
  return ::unlink(path.c_str()) == 0 ? "" : reason("cannot remove the old socket " + path);
}

}  // namespace

std::unique_ptr<SocketClaim> SocketClaim::create(const std::string& path, std::string& error) {
  const auto address = addressOf(path);
  if (!address || path.empty()) {
    error =
        "the path of the socket is " + std::string(path.empty() ? "empty" : "too long: ") + path;
    return nullptr;
  }
  const std::string folder = std::filesystem::path(path).parent_path();
  error = prepareFolder(folder.empty() ? "." : folder, path == defaultSocketPath());
  if (!error.empty()) return nullptr;
  FileDescriptor lock = lockFile(lockPath(path));
  if (!lock) {
    error = errno == EWOULDBLOCK ? "an agent is already running on " + path
                                 : reason("cannot lock " + lockPath(path));
    return nullptr;
  }
  std::unique_ptr<SocketClaim> claim(new SocketClaim(path, std::move(lock)));
  error = clearPath(path, *address);
  if (error.empty()) return claim;
  ::unlink(lockPath(path).c_str());
  claim->isReleased_ = true;  // what stands at the path is not ours to remove
  return nullptr;
}

SocketClaim::~SocketClaim() {
  release();
}

FileDescriptor SocketClaim::listen(std::string& error) {
  const auto address = addressOf(path_);
  FileDescriptor listener = newSocket();
  // The mode of the descriptor becomes that of the path, so that it is never wider.
  if (listener && ::fchmod(listener.get(), 0600) == 0 &&
      ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) == 0 &&
      ::listen(listener.get(), SOMAXCONN) == 0) {
    return listener;
  }
  error = reason("cannot listen on " + path_);
  return {};
}

void SocketClaim::release() {
  if (isReleased_.exchange(true)) return;
  ::unlink(path_.c_str());
  ::unlink(lockPath(path_).c_str());
}

}  // namespace revwarden
