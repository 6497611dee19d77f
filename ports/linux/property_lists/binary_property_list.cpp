#include "ports/linux/property_lists/binary_property_list.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "ports/linux/property_lists/property_list_scalars.h"

// A binary list is a header of 8 bytes, objects, a table with the offset of each object, and a
// trailer of 32 bytes. An object is one byte with its type and a small number, then its contents;
// arrays and dictionaries refer to other objects by their index in the table. Numbers are big
// endian.
namespace revwarden {
namespace {

using Bytes = std::string_view;

constexpr size_t kHeaderSize = 8;
constexpr size_t kTrailerSize = 32;
constexpr uint64_t kMaxContents = uint64_t{256} << 20;
constexpr double kSecondsFrom1970To2001 = 978307200;

uint64_t numberIn(Bytes bytes) {
  uint64_t number = 0;
  for (const char byte : bytes) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

// The bytes of an object that are not read yet. Nothing is returned for more bytes than are left.
class Contents {
 public:
  explicit Contents(Bytes rest) : rest_(rest) {}

  std::optional<Bytes> take(uint64_t size) {
    if (size > rest_.size()) return std::nullopt;
    const Bytes taken = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return taken;
  }

  // At most 8 bytes.
  std::optional<uint64_t> takeNumber(size_t size) {
    const std::optional<Bytes> bytes = take(size);
    return bytes ? std::optional(numberIn(*bytes)) : std::nullopt;
  }

 private:
  Bytes rest_;
};

struct Object {
  unsigned type;
  unsigned info;  // a length, or the binary logarithm of one
  Contents contents;
};

// The integer of 128 bits with these halves; a real if it does not fit into 64 bits with sign.
Value integerFrom(uint64_t high, uint64_t low) {
  const auto integer = static_cast<int64_t>(low);
  if (high == (integer < 0 ? UINT64_MAX : 0)) return integer;
  return std::ldexp(static_cast<double>(static_cast<int64_t>(high)), 64) + static_cast<double>(low);
}

std::optional<Value> flag(const Object& object) {
  constexpr unsigned kNo = 8;
  constexpr unsigned kYes = 9;
  if (object.info != kNo && object.info != kYes) return std::nullopt;
  return Value(object.info == kYes);
}

// Integers of 8 and 16 bytes have a sign, shorter ones have none.
std::optional<Value> integer(Object object) {
  if (object.info == 4) {
    const std::optional<uint64_t> high = object.contents.takeNumber(8);
    const std::optional<uint64_t> low = object.contents.takeNumber(8);
    return low ? std::optional(integerFrom(*high, *low)) : std::nullopt;
  }
  if (object.info > 4) return std::nullopt;
  const std::optional<uint64_t> number = object.contents.takeNumber(size_t{1} << object.info);
  return number ? std::optional<Value>(static_cast<int64_t>(*number)) : std::nullopt;
}

std::optional<double> real(Object object) {
  if (object.info != 2 && object.info != 3) return std::nullopt;
  const std::optional<uint64_t> bits = object.contents.takeNumber(size_t{1} << object.info);
  if (!bits) return std::nullopt;
  if (object.info == 3) return std::bit_cast<double>(*bits);
  return std::bit_cast<float>(static_cast<uint32_t>(*bits));
}

std::optional<Value> date(const Object& object) {
  const std::optional<double> seconds = object.info == 3 ? real(object) : std::nullopt;
  if (!seconds || !std::isfinite(*seconds)) return std::nullopt;
  return Date{kSecondsFrom1970To2001 + *seconds};
}

std::optional<Value> uid(Object object) {
  if (object.info > 7) return std::nullopt;
  const std::optional<uint64_t> number = object.contents.takeNumber(object.info + 1);
  if (!number) return std::nullopt;
  return Dictionary{{"CF$UID", integerFrom(0, *number)}};
}

std::optional<std::string> textFromUtf16(Bytes bytes) {
  std::u16string units;
  units.reserve(bytes.size() / 2);
  for (size_t i = 0; i < bytes.size(); i += 2) {
    units += static_cast<char16_t>(numberIn(bytes.substr(i, 2)));
  }
  std::string text;
  return appendUtf16(text, units) ? std::optional(std::move(text)) : std::nullopt;
}

class BinaryReader {
 public:
  BinaryReader(Bytes list, const PropertyListKeys* keys) : list_(list), keys_(keys) {}

  std::optional<Value> read() { return readTrailer() ? value(topObject_, 1, true) : std::nullopt; }

 private:
  bool readTrailer();
  std::optional<Object> objectAt(uint64_t index) const;
  std::optional<uint64_t> takeLength(Object& object) const;

  // A value that is not wanted is checked as any other, but its contents are left out.
  std::optional<Value> value(uint64_t index, size_t depth, bool isWanted);
  std::optional<Value> data(Object object, bool isWanted);
  std::optional<std::string> text(Object object, bool isWanted);
  std::optional<Value> array(Object object, size_t depth, bool isWanted);
  std::optional<Value> dictionary(Object object, size_t depth, bool isWanted);

  std::optional<Bytes> takeContents(Object& object, size_t unit);
  std::optional<Bytes> takeReferences(Object& object, size_t perEntry);
  uint64_t referenceAt(Bytes references, size_t position) const {
    return numberIn(references.substr(position, referenceSize_));
  }

  const Bytes list_;
  const PropertyListKeys* const keys_;
  Bytes objects_;  // with the header, from which offsets count
  Bytes offsets_;
  size_t offsetSize_ = 0;
  size_t referenceSize_ = 0;
  uint64_t objectCount_ = 0;
  uint64_t topObject_ = 0;
  // A small list may describe a huge value, as objects are shared.
  uint64_t valuesLeft_ = kMaxPropertyListValues;
  uint64_t contentsLeft_ = kMaxContents;
};

bool BinaryReader::readTrailer() {
  if (list_.size() < kHeaderSize + kTrailerSize) return false;
  const size_t end = list_.size() - kTrailerSize;
  const Bytes trailer = list_.substr(end);
  offsetSize_ = numberIn(trailer.substr(6, 1));
  referenceSize_ = numberIn(trailer.substr(7, 1));
  objectCount_ = numberIn(trailer.substr(8, 8));
  topObject_ = numberIn(trailer.substr(16, 8));
  const uint64_t start = numberIn(trailer.substr(24, 8));
  if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) return false;
  if (start > end || objectCount_ > (end - start) / offsetSize_) return false;
  objects_ = list_.substr(0, start);
  offsets_ = list_.substr(start, objectCount_ * offsetSize_);
  return true;
}

std::optional<Object> BinaryReader::objectAt(uint64_t index) const {
  if (index >= objectCount_) return std::nullopt;
  const uint64_t offset = numberIn(offsets_.substr(index * offsetSize_, offsetSize_));
  if (offset < kHeaderSize || offset >= objects_.size()) return std::nullopt;
  const unsigned marker = numberIn(objects_.substr(offset, 1));
  return Object{marker >> 4, marker & 0xF, Contents(objects_.substr(offset + 1))};
}

// A length above 14 is an integer behind the marker. None is longer than the list, so that products
// with it cannot overflow.
std::optional<uint64_t> BinaryReader::takeLength(Object& object) const {
  if (object.info != 0xF) return object.info;
  const std::optional<uint64_t> marker = object.contents.takeNumber(1);
  if (!marker || *marker < 0x10 || *marker > 0x13) return std::nullopt;
  const std::optional<uint64_t> length = object.contents.takeNumber(size_t{1} << (*marker & 3));
  return length && *length <= list_.size() ? length : std::nullopt;
}

std::optional<Value> BinaryReader::value(uint64_t index, size_t depth, bool isWanted) {
  // This also refuses an object that contains itself.
  if (depth > kMaxPropertyListDepth) return std::nullopt;
  const std::optional<Object> object = objectAt(index);
  switch (object ? object->type : 0xF) {
    case 0x0:
      return flag(*object);
    case 0x1:
      return integer(*object);
    case 0x2:
      return real(*object);
    case 0x3:
      return date(*object);
    case 0x4:
      return data(*object, isWanted);
    case 0x5:
    case 0x6:
      return text(*object, isWanted);
    case 0x8:
      return uid(*object);
    case 0xA:
      return array(*object, depth, isWanted);
    case 0xD:
      return dictionary(*object, depth, isWanted);
    default:
      return std::nullopt;
  }
}

std::optional<Bytes> BinaryReader::takeContents(Object& object, size_t unit) {
  const std::optional<uint64_t> length = takeLength(object);
  const std::optional<Bytes> contents =
      length ? object.contents.take(*length * unit) : std::nullopt;
  if (!contents || contents->size() > contentsLeft_) return std::nullopt;
  contentsLeft_ -= contents->size();
  return contents;
}

std::optional<Value> BinaryReader::data(Object object, bool isWanted) {
  const std::optional<Bytes> bytes = takeContents(object, 1);
  if (!bytes) return std::nullopt;
  return Data{std::string(isWanted ? *bytes : Bytes())};
}

// Intentional: texts of single bytes may be UTF-8, though the format has ASCII there, as some
// writers store UTF-8.
std::optional<std::string> BinaryReader::text(Object object, bool isWanted) {
  const bool isUtf16 = object.type == 0x6;
  if (!isUtf16 && object.type != 0x5) return std::nullopt;
  const std::optional<Bytes> bytes = takeContents(object, isUtf16 ? 2 : 1);
  if (!bytes) return std::nullopt;
  if (isUtf16) return textFromUtf16(*bytes);
  if (!isValidUtf8(*bytes)) return std::nullopt;
  return std::string(isWanted ? *bytes : Bytes());
}

// Returns the references of all entries. They count at once, as memory is reserved for all of them.
std::optional<Bytes> BinaryReader::takeReferences(Object& object, size_t perEntry) {
  const std::optional<uint64_t> length = takeLength(object);
  if (!length || *length * perEntry > valuesLeft_) return std::nullopt;
  valuesLeft_ -= *length * perEntry;
  return object.contents.take(*length * perEntry * referenceSize_);
}

std::optional<Value> BinaryReader::array(Object object, size_t depth, bool isWanted) {
  const std::optional<Bytes> references = takeReferences(object, 1);
  if (!references) return std::nullopt;
  std::vector<Value> elements;
  if (isWanted) elements.reserve(references->size() / referenceSize_);
  for (size_t i = 0; i < references->size(); i += referenceSize_) {
    std::optional<Value> element = value(referenceAt(*references, i), depth + 1, isWanted);
    if (!element) return std::nullopt;
    if (isWanted) elements.push_back(*std::move(element));
  }
  return Array(std::move(elements));
}

// The references of all keys come before those of all values.
std::optional<Value> BinaryReader::dictionary(Object object, size_t depth, bool isWanted) {
  const std::optional<Bytes> references = takeReferences(object, 2);
  if (!references) return std::nullopt;
  const size_t half = references->size() / 2;
  DictionaryBuilder entries;
  if (isWanted && !(keys_ && depth == 1)) entries.reserve(half / referenceSize_);
  for (size_t i = 0; i < half; i += referenceSize_) {
    const std::optional<Object> keyObject = objectAt(referenceAt(*references, i));
    std::optional<std::string> key = keyObject ? text(*keyObject, isWanted) : std::nullopt;
    if (!key) return std::nullopt;
    const bool isWantedEntry = isWanted && (depth > 1 || isWantedKey(*key, keys_));
    std::optional<Value> entry =
        value(referenceAt(*references, half + i), depth + 1, isWantedEntry);
    if (!entry) return std::nullopt;
    if (isWantedEntry) entries.set(*std::move(key), *std::move(entry));
  }
  return entries.build();
}

}  // namespace

bool isBinaryPropertyList(std::string_view bytes) {
  return bytes.starts_with("bplist0");
}

std::optional<Value> readBinaryPropertyList(std::string_view bytes, const PropertyListKeys* keys) {
  return BinaryReader(bytes, keys).read();
}

}  // namespace revwarden
