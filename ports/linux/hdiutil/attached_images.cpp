#include "ports/linux/hdiutil/attached_images.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include "base/text.h"
#include "ports/linux/files/temporary_folder.h"
#include "ports/linux/hdiutil/image_volumes.h"
#include "ports/posix/file_descriptor.h"
#include "ports/posix/remove_tree.h"

namespace revwarden {
namespace {

std::string reason(const std::string& path) {
  return path + ": " + strerror(errno);
}

/// The folder of all attached images. An image is a folder in it, named after the start of the
/// machine and the state of the file, with a folder for each volume. Hidden names are attachments
/// that are half laid out or half removed.
struct VolumesFolder {
  std::string path;
  std::optional<std::string> error;
};

VolumesFolder openVolumesFolder() {
  TemporaryFolder own = temporaryFolderOfUser();
  if (own.error) return {{}, std::move(own.error)};
  std::string path = own.path + "/volumes";
  unlink(path.c_str());  // a download may have been called so
  std::optional<std::string> error = makePrivateFolder(path);
  return {std::move(path), std::move(error)};
}

// Held by this process and, through its standard input, by what it starts: as long as anybody may
// still write into the folder.
FileDescriptor lock(const std::string& folder) {
  FileDescriptor held(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  while (held && flock(held.get(), LOCK_EX) != 0) {
    if (errno != EINTR) return {};
  }
  return held;
}

std::string thisStartOfTheMachine() {
  std::string id;
  std::ifstream("/proc/sys/kernel/random/boot_id") >> id;
  return id.substr(0, 8);
}

std::string stateName(const struct stat& image) {
  char name[128];
  std::snprintf(name, sizeof name, "%s-%jx-%jx-%jx-%jx.%lx", thisStartOfTheMachine().c_str(),
                uintmax_t{image.st_dev}, uintmax_t{image.st_ino},
                static_cast<uintmax_t>(image.st_size), static_cast<uintmax_t>(image.st_mtim.tv_sec),
                static_cast<unsigned long>(image.st_mtim.tv_nsec));
  return name;
}

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    names.push_back(entry->path().filename().string());
  }
  std::ranges::sort(names);
  return names;
}

// The lock is held: nobody lays out anything now.
void removeLeftovers(const std::string& folder) {
  const std::string current = thisStartOfTheMachine();
  const std::string inFolder = folder + "/";
  for (const std::string& name : namesIn(folder)) {
    if (name.starts_with('.') || !name.starts_with(current)) removeTree(inFolder + name);
  }
}

Attachment mountPointsIn(const std::string& attached) {
  Attachment attachment;
  const std::string inFolder = attached + "/";
  for (const std::string& name : namesIn(attached)) {
    attachment.mountPoints.push_back(inFolder + name);
  }
  if (attachment.mountPoints.empty()) attachment.error = attached + " is empty";
  return attachment;
}

std::optional<std::string> layOut(const std::string& image, const std::string& folder, int held) {
  if (mkdir(folder.c_str(), 0700) != 0) return reason(folder);
  return layOutVolumes(image, folder, held);
}

}  // namespace

Attachment attachImage(const std::string& image) {
  struct stat facts;
  if (stat(image.c_str(), &facts) != 0) return {{}, reason(image)};
  if (!S_ISREG(facts.st_mode)) return {{}, image + " is no file"};
  VolumesFolder volumes = openVolumesFolder();
  if (volumes.error) return {{}, std::move(volumes.error)};
  const FileDescriptor held = lock(volumes.path);
  if (!held) return {{}, reason(volumes.path)};
  removeLeftovers(volumes.path);

  const std::string attached = volumes.path + "/" + stateName(facts);
  if (access(attached.c_str(), F_OK) == 0) return mountPointsIn(attached);
  const std::string half = volumes.path + "/.half";
  std::optional<std::string> error = layOut(image, half, held.get());
  if (!error && rename(half.c_str(), attached.c_str()) != 0) error = reason(attached);
  if (error) {
    removeTree(half);
    return {{}, std::move(error)};
  }
  return mountPointsIn(attached);
}

std::optional<std::string> detachVolume(std::string_view mountPoint) {
  VolumesFolder volumes = openVolumesFolder();
  if (volumes.error) return std::move(volumes.error);
  const std::filesystem::path path(mountPoint.substr(0, mountPoint.find_last_not_of('/') + 1));
  const std::string attached = path.parent_path().string();
  const std::string name = path.parent_path().filename().string();
  if (attached != volumes.path + "/" + name || name.empty() || name.starts_with('.') ||
      path.filename() == "." || path.filename() == ".." || access(path.c_str(), F_OK) != 0) {
    return std::string(mountPoint) + " is no mount point of an attached image";
  }
  // At once, so that whoever attaches the image again meanwhile does not find the half of it.
  const std::string gone = volumes.path + "/.gone-" + std::to_string(getpid());
  if (rename(attached.c_str(), gone.c_str()) != 0) return reason(attached);
  if (!removeTree(gone)) return "Something of " + std::string(mountPoint) + " is left";
  return std::nullopt;
}

}  // namespace revwarden
