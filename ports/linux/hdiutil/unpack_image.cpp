#include "ports/linux/hdiutil/unpack_image.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "ports/posix/file_descriptor.h"
#include "ports/posix/spawn.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

constexpr std::array kPrograms = {"/usr/bin/7zz", "/usr/local/bin/7zz", "/bin/7zz"};
constexpr uint64_t kSpareBytes = uint64_t{1} << 30;
constexpr int kMillisecondsBetweenLooks = 100;

// Keeps a gibibyte free, or a twentieth of a small file system, and a twentieth of its inodes.
bool isNearlyFull(const std::string& folder) {
  struct statvfs facts;
  if (statvfs(folder.c_str(), &facts) != 0) return false;
  const uint64_t block = facts.f_frsize;
  return facts.f_bavail * block < std::min(kSpareBytes, facts.f_blocks * block / 20) ||
         facts.f_favail < facts.f_files / 20;
}

std::vector<std::string> command(const std::string& program, const std::string& image,
                                 const std::string& folder, const std::string& kind) {
  std::vector<std::string> words = {program, "x", "-y", "-bd", "-spd"};
  words.insert(words.end(), {
                                "-sns-",    // no files for resource forks and attributes
                                "-snld20",  // links as they are; they are made last, so that
                                            // nothing is written through one
                                "-pnone",   // never asks for a password
                            });
  if (!kind.empty()) words.push_back("-t" + kind);
  // A name that begins with "@" would be read as a list of names.
  words.insert(words.end(), {"-o" + folder, "--", image.starts_with('/') ? image : "./" + image});
  return words;
}

Result<pid_t> start(std::vector<std::string> words, int input, int output) {
  SpawnRequest request;
  request.command = std::move(words);
  request.environment = {"LC_ALL=C.UTF-8"};
  request.input = input;
  request.output = output;
  request.error = STDERR_FILENO;
  return spawn(request);
}

Result<pid_t> startFirst(const std::string& image, const std::string& folder,
                         const std::string& kind, int input, int output) {
  for (const char* const program : kPrograms) {
    if (access(program, X_OK) != 0) continue;
    Result<pid_t> started = start(command(program, image, folder, kind), input, output);
    if (started) return started;
  }
  return Error{"", "7zz, which reads disk images, cannot be started"};
}

/// Reads the output of 7zz until it ends, and kills it when space runs out.
class Watch {
 public:
  Watch(pid_t pid, FileDescriptor output, const std::string& folder)
      : pid_(pid), output_(std::move(output)), folder_(folder) {}

  /// Returns the innermost format that was unpacked.
  Result<std::string> untilEnd() {
    while (readSome()) {
      if (!stopped_ && isNearlyFull(folder_)) stopped_ = kill(pid_, SIGKILL) == 0;
    }
    const int status = waitForEnd(pid_);
    if (stopped_) return Error{kNoSpace, "not enough space to unpack the disk image in " + folder_};
    // 1 is a warning about bytes that belong to no volume.
    if (status != 0 && status != 1) {
      return Error{"", "the disk image is damaged or of an unknown format"};
    }
    return lastKind();
  }

 private:
  // Returns false at the end.
  bool readSome() {
    pollfd end{output_.get(), POLLIN, 0};
    const int ready = poll(&end, 1, kMillisecondsBetweenLooks);
    if (ready <= 0) return ready == 0 || errno == EINTR;
    std::array<char, 4096> bytes;
    const ssize_t count = read(output_.get(), bytes.data(), bytes.size());
    if (count <= 0) return count < 0 && errno == EINTR;
    text_.append(bytes.data(), std::min(static_cast<size_t>(count), kTextBytes - text_.size()));
    return true;
  }

  // 7zz describes an image within an image after the outer one.
  std::string lastKind() const {
    constexpr std::string_view kField = "\nType = ";
    const size_t field = text_.rfind(kField);
    if (field == text_.npos) return {};
    const size_t start = field + kField.size();
    return text_.substr(start, text_.find('\n', start) - start);
  }

  static constexpr size_t kTextBytes = size_t{1} << 20;

  const pid_t pid_;
  FileDescriptor output_;
  const std::string folder_;
  std::string text_;
  bool stopped_ = false;
};

}  // namespace

Result<std::string> unpackImage(const std::string& image, const std::string& folder,
                                const std::string& kind, int held) {
  std::optional<Pipe> output = makePipe();
  if (!output) return systemError();
  const Result<pid_t> pid = startFirst(image, folder, kind, held, output->writeEnd.get());
  output->writeEnd = FileDescriptor();
  if (!pid) return pid.error();
  return Watch(*pid, std::move(output->readEnd), folder).untilEnd();
}

}  // namespace revwarden
