#include "ports/linux/hdiutil/image_kind.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "ports/posix/file_descriptor.h"

namespace revwarden {
namespace {

using namespace std::string_view_literals;

struct Signature {
  off_t offset;  // from the end when negative
  std::string_view bytes;
};

constexpr Signature kIso = {0x8001, "CD001"};
constexpr Signature kApplePartitions = {0, "ER"};
constexpr Signature kOthers[] = {
    {-512, "koly\0\0\0\4"sv},  // compressed image
    kApplePartitions,
    {512, "EFI PART"},   // partitioned disk
    {1024, "H+\0\4"sv},  // HFS+
    {1024, "HX\0\5"sv},  // HFS+ whose names tell upper from lower case
    {1024, "BD"},        // HFS+ within an older volume
    {32, "NXSB"},        // APFS
};

bool isThere(int file, off_t size, const Signature& signature) {
  std::array<char, 8> bytes;
  const size_t length = signature.bytes.size();
  const off_t offset = signature.offset < 0 ? size + signature.offset : signature.offset;
  return offset >= 0 && pread(file, bytes.data(), length, offset) == static_cast<ssize_t>(length) &&
         std::string_view(bytes.data(), length) == signature.bytes;
}

}  // namespace

ImageKind kindOfImage(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat facts;
  if (!file || fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode)) return ImageKind::none;
  const auto has = [&](const Signature& signature) {
    return isThere(file.get(), facts.st_size, signature);
  };
  if (has(kIso)) return has(kApplePartitions) ? ImageKind::hybrid : ImageKind::image;
  return std::ranges::any_of(kOthers, has) ? ImageKind::image : ImageKind::none;
}

}  // namespace revwarden
