#include "ports/linux/hdiutil/image_volumes.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/text.h"
#include "ports/linux/hdiutil/image_file.h"
#include "ports/linux/hdiutil/laid_volume.h"
#include "ports/linux/hdiutil/unpacking.h"
#include "ports/posix/remove_tree.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;
using Error = std::optional<std::string>;

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

  Error addVolumesOf(const std::string& image, bool isPartition = false) {
    const ImageKind kind = kindOfImage(image);
    if (kind == ImageKind::none) return image + " is no disk image";
    if (kind == ImageKind::hybrid && !unpack(image, std::string(kHfs)).error) {
      return addHfs();
    }
    const Unpacked unpacked = unpack(image, {});
    if (unpacked.error) return unpacked.error;
    if (unpacked.kind == kHfs) return addHfs();
    if (isAnyOf(kOtherVolumes, unpacked.kind)) return add(unpacked_, name_);
    if (!isPartition && isAnyOf(kPartitioned, unpacked.kind)) return addPartitions();
    return image + " holds nothing that can be attached";
  }

 private:
  Unpacked unpack(const std::string& image, const std::string& kind) {
    removeTree(unpacked_);
    return revwarden::unpack(image, unpacked_, kind, held_);
  }

  // The volume is the only folder there. Its hard links, all of which stand for a file in a hidden
  // folder, come out as empty files.
  Error addHfs() {
    const std::vector<fs::path> top = entriesOf(unpacked_);
    if (top.size() != 1 || !isFolder(top.front())) return "The volume is damaged";
    const fs::path hidden = top.front() / "[HFS+ Private Data]";
    openUp(top.front());
    openUp(hidden);
    for (const fs::path& file : entriesOf(hidden)) {
      if (file.filename().string().starts_with("iNode")) return "The volume holds hard links";
    }
    removeTree(hidden);
    return add(top.front(), top.front().filename());
  }

  // What is no volume, such as the map of the partitions, is passed over.
  Error addPartitions() {
    const fs::path partitions = folder_ + "/.partitions";
    std::error_code failure;
    fs::rename(unpacked_, partitions, failure);
    bool isAny = false;
    for (const fs::path& partition : entriesOf(partitions)) {
      if (kindOfImage(partition) == ImageKind::none) continue;
      if (Error error = addVolumesOf(partition, true)) return error;
      isAny = true;
    }
    removeTree(partitions);
    if (!isAny) return "The image holds no volume that can be read";
    return std::nullopt;
  }

  Error add(const fs::path& volume, const std::string& name) {
    const std::string place = freePlace(name);
    std::error_code failure;
    fs::rename(volume, place, failure);
    if (failure) return place + ": " + failure.message();
    removeTree(unpacked_);
    return sealVolume(place, unpacked_);
  }

  // Hidden names are the workshop's own, and those that are no text cannot be told.
  std::string freePlace(const std::string& name) const {
    const bool isUsable = !name.empty() && name.front() != '.' && isValidUtf8(name);
    const std::string first = folder_ + "/" + (isUsable ? name : "Disk Image");
    std::string place = first;
    for (int number = 1; fs::exists(place); ++number) place = first + " " + std::to_string(number);
    return place;
  }

  // Moving a folder and looking into it take rights that its modes on the volume may not give.
  static void openUp(const fs::path& folder) {
    std::error_code failure;
    if (isFolder(folder)) fs::permissions(folder, fs::perms::owner_all, failure);
  }

  static std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    std::error_code failure;
    for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
      entries.push_back(entry->path());
    }
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

Error layOutVolumes(const std::string& image, const std::string& folder, int held) {
  return Layout(image, folder, held).addVolumesOf(image);
}

}  // namespace revwarden
