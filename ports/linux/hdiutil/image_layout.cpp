#include "ports/linux/hdiutil/image_layout.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/text.h"
#include "ports/linux/hdiutil/image_kind.h"
#include "ports/linux/hdiutil/seal_volume.h"
#include "ports/linux/hdiutil/unpack_image.h"
#include "ports/posix/directory.h"
#include "ports/posix/remove_tree.h"
#include "ports/posix/system_error.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kHfs = "HFS";
constexpr std::array<std::string_view, 3> kOtherVolumes = {"APFS", "Iso", "Udf"};
constexpr std::array<std::string_view, 3> kPartitioned = {"Dmg", "APM", "GPT"};

bool isAnyOf(const auto& kinds, const std::string& kind) {
  return std::ranges::find(kinds, kind) != kinds.end();
}

/// The volumes of one image.
class Layout {
 public:
  Layout(const std::string& image, const std::string& folder, int held)
      : name_(deletingPathExtension(lastPathComponent(image))),
        folder_(folder),
        unpacked_(folder + "/.unpacked"),
        held_(held) {}

  Result<> addVolumesOf(const std::string& image, bool isPartition = false) {
    const ImageKind kind = kindOfImage(image);
    if (kind == ImageKind::none) return Error{"", image + " is no disk image"};
    if (kind == ImageKind::hybrid && unpack(image, std::string(kHfs))) return addHfs();
    const Result<std::string> unpacked = unpack(image, {});
    if (!unpacked) return unpacked.error();
    if (*unpacked == kHfs) return addHfs();
    if (isAnyOf(kOtherVolumes, *unpacked)) return add(unpacked_, name_);
    if (!isPartition && isAnyOf(kPartitioned, *unpacked)) return addPartitions();
    return Error{"", image + " contains no volume in a known format"};
  }

 private:
  Result<std::string> unpack(const std::string& image, const std::string& kind) {
    removeTree(unpacked_);
    return unpackImage(image, unpacked_, kind, held_);
  }

  // The volume is the only folder there. Volumes with hard links are refused: they refer to files
  // in a hidden folder, and 7zz makes empty files of them.
  Result<> addHfs() {
    const std::vector<fs::path> top = entriesOf(unpacked_);
    if (top.size() != 1 || !isFolder(top.front())) return Error{"", "the volume is damaged"};
    const fs::path hidden = top.front() / "[HFS+ Private Data]";
    openUp(top.front());
    openUp(hidden);
    for (const fs::path& file : entriesOf(hidden)) {
      if (file.filename().string().starts_with("iNode")) {
        return Error{"", "the volume contains hard links, which are not supported"};
      }
    }
    removeTree(hidden);
    return add(top.front(), top.front().filename());
  }

  // Ignores what is no volume, such as the partition map.
  Result<> addPartitions() {
    const fs::path partitions = folder_ + "/.partitions";
    std::error_code failure;
    fs::rename(unpacked_, partitions, failure);
    bool isAny = false;
    for (const fs::path& partition : entriesOf(partitions)) {
      if (kindOfImage(partition) == ImageKind::none) continue;
      if (Result<> added = addVolumesOf(partition, true); !added) return added;
      isAny = true;
    }
    removeTree(partitions);
    if (!isAny) return Error{"", "the disk image contains no volume in a known format"};
    return {};
  }

  Result<> add(const fs::path& volume, const std::string& name) {
    const std::string place = freePlace(name);
    std::error_code failure;
    fs::rename(volume, place, failure);
    if (failure) return systemError(place, failure.value());
    removeTree(unpacked_);
    return sealVolume(place, unpacked_);
  }

  // Hidden names are for this class, and a name that is not UTF-8 cannot be printed.
  std::string freePlace(const std::string& name) const {
    const bool isUsable = !name.empty() && name.front() != '.' && isValidUtf8(name);
    const std::string first = folder_ + "/" + (isUsable ? name : "Disk Image");
    std::string place = first;
    for (int number = 1; fs::exists(place); ++number) place = first + " " + std::to_string(number);
    return place;
  }

  // The modes on the volume may forbid to move the folder or to read it.
  static void openUp(const fs::path& folder) {
    std::error_code failure;
    if (isFolder(folder)) fs::permissions(folder, fs::perms::owner_all, failure);
  }

  static std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    for (const std::string& name : entryNames(folder)) entries.push_back(folder / name);
    std::ranges::sort(entries);
    return entries;
  }

  static bool isFolder(const fs::path& path) {
    std::error_code failure;
    return fs::is_directory(fs::symlink_status(path, failure));
  }

  const std::string name_;
  const std::string folder_;
  const std::string unpacked_;
  const int held_;
};

}  // namespace

Result<> layOutVolumes(const std::string& image, const std::string& folder, int held) {
  return Layout(image, folder, held).addVolumesOf(image);
}

}  // namespace revwarden
