#include "ports/linux/hdiutil/attached_images.h"

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <utility>

#include "ports/linux/files/temporary_folder.h"
#include "ports/linux/hdiutil/image_layout.h"
#include "ports/posix/directory.h"
#include "ports/posix/remove_tree.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

/// Returns the folder of all attached images. Each image is a folder in it, named after the boot of
/// the machine and the state of the image file, with a folder for each volume. Attachments that are
/// only partly unpacked or removed have hidden names.
Result<std::string> openVolumesFolder() {
  const Result<std::string> own = temporaryFolderOfUser();
  if (!own) return own;
  std::string path = *own + "/volumes";
  unlink(path.c_str());  // A download may have this name.
  const Result<> made = makePrivateFolder(path);
  if (!made) return made.error();
  return path;
}

// The lock is held by this process and, through their standard input, by the programs that it
// starts: for as long as one of them may write into the folder.
FileDescriptor lock(const std::string& folder) {
  FileDescriptor held = openDirectory(folder);
  while (held && flock(held.get(), LOCK_EX) != 0) {
    if (errno != EINTR) return {};
  }
  return held;
}

std::string thisBoot() {
  std::string id;
  std::ifstream("/proc/sys/kernel/random/boot_id") >> id;
  return id.substr(0, 8);
}

std::string stateName(const struct stat& image) {
  char name[128];
  std::snprintf(name, sizeof name, "%s-%jx-%jx-%jx-%jx.%lx", thisBoot().c_str(),
                uintmax_t{image.st_dev}, uintmax_t{image.st_ino},
                static_cast<uintmax_t>(image.st_size), static_cast<uintmax_t>(image.st_mtim.tv_sec),
                static_cast<unsigned long>(image.st_mtim.tv_nsec));
  return name;
}

std::vector<std::string> sortedNames(const std::string& folder) {
  std::vector<std::string> names = entryNames(folder);
  std::ranges::sort(names);
  return names;
}

// To be called with the lock held, so that nothing is being unpacked.
void removeLeftovers(const std::string& folder) {
  const std::string current = thisBoot();
  const std::string inFolder = folder + "/";
  for (const std::string& name : sortedNames(folder)) {
    if (name.starts_with('.') || !name.starts_with(current)) removeTree(inFolder + name);
  }
}

Result<std::vector<std::string>> mountPointsIn(const std::string& attached) {
  std::vector<std::string> mountPoints;
  const std::string inFolder = attached + "/";
  for (const std::string& name : sortedNames(attached)) mountPoints.push_back(inFolder + name);
  if (mountPoints.empty()) return Error{"", attached + " is empty"};
  return mountPoints;
}

Result<> layOut(const std::string& image, const std::string& folder, int held) {
  if (mkdir(folder.c_str(), 0700) != 0) return systemError(folder);
  return layOutVolumes(image, folder, held);
}

}  // namespace

Result<std::vector<std::string>> attachImage(const std::string& image) {
  struct stat facts;
  if (stat(image.c_str(), &facts) != 0) return systemError(image);
  if (!S_ISREG(facts.st_mode)) return Error{"", image + " is no file"};
  const Result<std::string> volumes = openVolumesFolder();
  if (!volumes) return volumes.error();
  const FileDescriptor held = lock(*volumes);
  if (!held) return systemError(*volumes);
  removeLeftovers(*volumes);

  const std::string attached = *volumes + "/" + stateName(facts);
  if (access(attached.c_str(), F_OK) == 0) return mountPointsIn(attached);
  const std::string half = *volumes + "/.half";
  Result<> done = layOut(image, half, held.get());
  if (done && rename(half.c_str(), attached.c_str()) != 0) done = systemError(attached);
  if (done) return mountPointsIn(attached);
  removeTree(half);
  return done.error();
}

Result<> detachVolume(std::string_view mountPoint) {
  const Result<std::string> volumes = openVolumesFolder();
  if (!volumes) return volumes.error();
  const std::filesystem::path path(mountPoint.substr(0, mountPoint.find_last_not_of('/') + 1));
  const std::string attached = path.parent_path().string();
  const std::string name = path.parent_path().filename().string();
  if (attached != *volumes + "/" + name || name.empty() || name.starts_with('.') ||
      path.filename() == "." || path.filename() == ".." || access(path.c_str(), F_OK) != 0) {
    return Error{"", std::string(mountPoint) + " is no mount point of an attached image"};
  }
  // In one step: a process that attaches the image again must not find half of it.
  const std::string gone = *volumes + "/.gone-" + std::to_string(getpid());
  if (rename(attached.c_str(), gone.c_str()) != 0) return systemError(attached);
  if (!removeTree(gone)) return Error{"", "cannot remove all of " + std::string(mountPoint)};
  return {};
}

}  // namespace revwarden
