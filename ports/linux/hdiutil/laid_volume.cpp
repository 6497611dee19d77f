#include "ports/linux/hdiutil/laid_volume.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include "ports/linux/processes/stray_links.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;

/// One volume on its way from what was unpacked to what is mounted.
class Sealing {
 public:
  Sealing(const std::string& volume, const std::string& unpackedAt)
      : volume_(volume),
        unpackedAt_(unpackedAt),
        root_(open(volume.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}

  std::optional<std::string> run() {
    if (!root_) return volume_.string() + ": " + strerror(errno);
    if (!openUp(volume_) || !forEachEntry([this](const fs::path& path) { return admit(path); }) ||
        !removeStrayLinks() ||
        !forEachEntry([this](const fs::path& path) { return makeReadOnly(path); }) ||
        !setMode(volume_, 0555)) {
      return "The volume cannot be laid out: " + error_.message();
    }
    return std::nullopt;
  }

 private:
  // Folders before what is in them; links are not followed.
  template <typename Visit>
  bool forEachEntry(Visit visit) {
    fs::recursive_directory_iterator entry(volume_, error_);
    for (; !error_ && entry != fs::recursive_directory_iterator(); entry.increment(error_)) {
      const fs::path path = entry->path();
      if (!visit(path)) return false;
    }
    return !error_;
  }

  bool admit(const fs::path& path) {
    const fs::file_status status = fs::symlink_status(path, error_);
    if (error_) return false;
    if (fs::is_directory(status)) return openUp(path);
    if (fs::is_symlink(status)) {
      links_.push_back(path);
      return restoreTarget(path);
    }
    if (!fs::is_regular_file(status)) return fs::remove(path, error_);
    mayExecuteSome_ |= (status.permissions() & kExecute) != fs::perms::none;
    return true;
  }

  bool restoreTarget(const fs::path& link) {
    const std::string target = fs::read_symlink(link, error_).string();
    if (error_ || !target.starts_with(unpackedAt_ + "/")) return !error_;
    if (fs::remove(link, error_)) {
      fs::create_symlink(target.substr(unpackedAt_.size()), link, error_);
    }
    return !error_;
  }

  bool removeStrayLinks() {
    for (const fs::path& link : links_) {
      if (!leadsOut(root_.get(), link.lexically_relative(volume_).string())) continue;
      if (!isWayToApplications(link) && !fs::remove(link, error_)) return false;
    }
    return true;
  }

  bool isWayToApplications(const fs::path& link) {
    return link.parent_path() == volume_ && fs::read_symlink(link, error_) == "/Applications";
  }

  bool makeReadOnly(const fs::path& path) {
    const fs::file_status status = fs::symlink_status(path, error_);
    if (error_ || fs::is_symlink(status)) return !error_;
    const bool mayExecute = fs::is_directory(status) || !mayExecuteSome_ ||
                            (status.permissions() & kExecute) != fs::perms::none;
    return setMode(path, mayExecute ? 0555 : 0444);
  }

  bool openUp(const fs::path& folder) { return setMode(folder, 0700); }

  bool setMode(const fs::path& path, unsigned mode) {
    fs::permissions(path, static_cast<fs::perms>(mode), error_);
    return !error_;
  }

  static constexpr fs::perms kExecute =
      fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;

  const fs::path volume_;
  const std::string unpackedAt_;
  FileDescriptor root_;
  std::error_code error_;
  std::vector<fs::path> links_;
  bool mayExecuteSome_ = false;
};

}  // namespace

std::optional<std::string> sealVolume(const std::string& volume, const std::string& unpackedAt) {
  return Sealing(volume, unpackedAt).run();
}

}  // namespace revwarden
