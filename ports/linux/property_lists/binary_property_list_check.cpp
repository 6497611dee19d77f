#include "ports/linux/property_lists/binary_property_list_check.h"

#include <algorithm>

#include "base/text.h"

namespace revwarden {
namespace {

constexpr size_t kHeaderSize = 8;
constexpr size_t kTrailerSize = 32;
constexpr uint64_t kMaxUnfoldedObjects = 4'000'000;
constexpr uint64_t kMaxUnfoldedBytes = uint64_t{256} << 20;
constexpr size_t kMaxObjectsKept = 10'000;

// Big endian, with surrogates in pairs and no null character.
bool isSoundUtf16(std::string_view text) {
  bool expectsLow = false;
  for (size_t i = 0; i < text.size(); i += 2) {
    const unsigned high = static_cast<unsigned char>(text[i]);
    const bool isLow = (high & 0xFC) == 0xDC;
    if (isLow != expectsLow || (high == 0 && text[i + 1] == '\0')) return false;
    expectsLow = (high & 0xFC) == 0xD8;
  }
  return !expectsLow;
}

}  // namespace

bool BinaryPropertyListCheck::isSound(std::string_view bytes, size_t maxDepth) {
  bytes_ = bytes;
  maxDepth_ = maxDepth;
  if (!readTrailer()) return false;
  known_.assign(objectCount_, Extent());
  const bool sound = visit(topObject_, 1);
  if (known_.size() > kMaxObjectsKept) std::vector<Extent>().swap(known_);
  return sound;
}

uint64_t BinaryPropertyListCheck::numberAt(size_t position, size_t size) const {
  uint64_t number = 0;
  for (size_t i = 0; i < size; ++i) {
    number = number << 8 | static_cast<unsigned char>(bytes_[position + i]);
  }
  return number;
}

size_t BinaryPropertyListCheck::offsetOf(uint64_t object) const {
  return numberAt(tableStart_ + object * offsetSize_, offsetSize_);
}

bool BinaryPropertyListCheck::readTrailer() {
  if (bytes_.size() < kHeaderSize + kTrailerSize + 1) return false;
  const size_t trailer = bytes_.size() - kTrailerSize;
  offsetSize_ = numberAt(trailer + 6, 1);
  referenceSize_ = numberAt(trailer + 7, 1);
  objectCount_ = numberAt(trailer + 8, 8);
  topObject_ = numberAt(trailer + 16, 8);
  tableStart_ = numberAt(trailer + 24, 8);
  const auto isUsual = [](size_t size) { return size == 1 || size == 2 || size == 4 || size == 8; };
  return isUsual(offsetSize_) && isUsual(referenceSize_) && tableStart_ > kHeaderSize &&
         objectCount_ <= kMaxUnfoldedObjects && tableStart_ < trailer &&
         topObject_ < objectCount_ && objectCount_ <= (trailer - tableStart_) / offsetSize_;
}

bool BinaryPropertyListCheck::visit(uint64_t object, size_t depth) {
  if (object >= objectCount_ || depth > maxDepth_) return false;
  const Extent& known = known_[object];
  if (known.state == State::sound) return depth + known.height - 1 <= maxDepth_;
  if (known.state == State::open) return false;  // it contains itself
  known_[object].state = State::open;
  const ExtentOrNone extent = examine(object, depth);
  if (!extent) return false;
  known_[object] = *extent;
  known_[object].state = State::sound;
  return true;
}

BinaryPropertyListCheck::ExtentOrNone BinaryPropertyListCheck::examine(uint64_t object,
                                                                       size_t depth) {
  const size_t offset = offsetOf(object);
  if (offset < kHeaderSize || offset >= tableStart_) return std::nullopt;
  const size_t position = offset + 1;
  const auto marker = static_cast<unsigned char>(bytes_[offset]);
  const unsigned info = marker & 0xF;
  switch (marker >> 4) {
    case 0x0:
      return whole(position, 0, info == 8 || info == 9);
    case 0x1:
      return whole(position, size_t{1} << info, info <= 4);
    case 0x2:
      return whole(position, size_t{1} << info, info == 2 || info == 3);
    case 0x3:
      return whole(position, 8, info == 3);
    case 0x8:
      return whole(position, info + 1, info == 0 || info == 1 || info == 3 || info == 7);
    case 0x4:
      return sized(position, info, 1, 1);
    case 0x5:
      return text(position, info, 1);
    case 0x6:
      return text(position, info, 2);
    case 0xA:
      return container(position, info, depth, false);
    case 0xD:
      return container(position, info, depth, true);
    default:
      return std::nullopt;
  }
}

bool BinaryPropertyListCheck::fits(size_t position, uint64_t size) const {
  return position <= tableStart_ && size <= tableStart_ - position;
}

// Reads a length, which may follow as an integer of its own; moves `position` behind it.
std::optional<uint64_t> BinaryPropertyListCheck::length(size_t& position, unsigned info) const {
  if (info != 0xF) return info;
  if (!fits(position, 1)) return std::nullopt;
  const auto marker = static_cast<unsigned char>(bytes_[position++]);
  const size_t size = size_t{1} << (marker & 0xF);
  if ((marker & 0xF0) != 0x10 || size > 8 || !fits(position, size)) return std::nullopt;
  const uint64_t count = numberAt(position, size);
  position += size;
  // No object has more parts than the list has bytes, which keeps all products small.
  return count <= bytes_.size() ? std::optional(count) : std::nullopt;
}

BinaryPropertyListCheck::ExtentOrNone BinaryPropertyListCheck::whole(size_t position, uint64_t size,
                                                                     bool isKnown) const {
  if (!isKnown || !fits(position, size)) return std::nullopt;
  return Extent{.bytes = static_cast<uint32_t>(size)};
}

// `growth`: how much longer the bytes can become when libplist holds them.
BinaryPropertyListCheck::ExtentOrNone BinaryPropertyListCheck::sized(size_t position, unsigned info,
                                                                     size_t unit,
                                                                     size_t growth) const {
  const std::optional<uint64_t> count = length(position, info);
  if (!count || !fits(position, *count * unit)) return std::nullopt;
  const uint64_t bytes = *count * unit * growth;
  if (bytes > kMaxUnfoldedBytes) return std::nullopt;
  return Extent{.bytes = static_cast<uint32_t>(bytes)};
}

// libplist ends the process over a key with a null character; no honest text has one.
BinaryPropertyListCheck::ExtentOrNone BinaryPropertyListCheck::text(size_t position, unsigned info,
                                                                    size_t unit) const {
  const ExtentOrNone extent = sized(position, info, unit, unit);
  if (!extent) return std::nullopt;
  const size_t count = *length(position, info);
  const std::string_view text = bytes_.substr(position, count * unit);
  const bool isSound =
      unit == 1 ? isValidUtf8(text) && text.find('\0') == text.npos : isSoundUtf16(text);
  return isSound ? extent : std::nullopt;
}

BinaryPropertyListCheck::ExtentOrNone BinaryPropertyListCheck::container(size_t position,
                                                                         unsigned info,
                                                                         size_t depth,
                                                                         bool isDictionary) {
  const std::optional<uint64_t> count = length(position, info);
  if (!count) return std::nullopt;
  const uint64_t references = *count * (isDictionary ? 2 : 1);
  if (!fits(position, references * referenceSize_)) return std::nullopt;
  Extent extent;
  for (uint64_t i = 0; i < references; ++i) {
    const uint64_t object = numberAt(position + i * referenceSize_, referenceSize_);
    if (!visit(object, depth + 1)) return std::nullopt;
    if (isDictionary && i < *count && !isText(object)) return std::nullopt;
    const Extent& part = known_[object];
    extent.objects += part.objects;
    extent.bytes += part.bytes;
    extent.height = std::max(extent.height, part.height + 1);
    if (extent.objects > kMaxUnfoldedObjects || extent.bytes > kMaxUnfoldedBytes) {
      return std::nullopt;
    }
  }
  return extent;
}

bool BinaryPropertyListCheck::isText(uint64_t object) const {
  const unsigned type = static_cast<unsigned char>(bytes_[offsetOf(object)]) >> 4;
  return type == 0x5 || type == 0x6;
}

}  // namespace revwarden
