#include "ports/linux/property_lists/binary_property_list.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"

namespace revwarden {
namespace {

constexpr double kSecondsFrom1970To2001 = 978307200;

struct PlistDeleter {
  void operator()(void* plist) const { plist_free(plist); }
};
using PlistRef = std::unique_ptr<void, PlistDeleter>;

struct Freer {
  void operator()(void* memory) const { std::free(memory); }
};

std::optional<Value> valueOf(plist_t node);

std::optional<Value> textOf(plist_t node) {
  uint64_t length = 0;
  const char* const chars = plist_get_string_ptr(node, &length);
  const std::string_view text(chars ? chars : "", chars ? length : 0);
  return isValidUtf8(text) ? std::optional<Value>(text) : std::nullopt;
}

Value dataOf(plist_t node) {
  uint64_t length = 0;
  const char* const bytes = plist_get_data_ptr(node, &length);
  return Data{bytes ? std::string(bytes, length) : std::string()};
}

Value dateOf(plist_t node) {
  int32_t seconds = 0;
  int32_t microseconds = 0;
  plist_get_date_val(node, &seconds, &microseconds);
  return Date{kSecondsFrom1970To2001 + seconds + microseconds / 1e6};
}

std::optional<Value> arrayOf(plist_t node) {
  std::vector<Value> elements;
  elements.reserve(plist_array_get_size(node));
  void* cursor = nullptr;
  plist_array_new_iter(node, &cursor);
  const std::unique_ptr<void, Freer> owned(cursor);
  for (plist_t item = nullptr; plist_array_next_item(node, cursor, &item), item;) {
    std::optional<Value> value = valueOf(item);
    if (!value) return std::nullopt;
    elements.push_back(*std::move(value));
  }
  return Array(std::move(elements));
}

std::optional<Value> dictionaryOf(plist_t node) {
  DictionaryBuilder entries;
  entries.reserve(plist_dict_get_size(node));
  void* cursor = nullptr;
  plist_dict_new_iter(node, &cursor);
  const std::unique_ptr<void, Freer> owned(cursor);
  while (true) {
    char* key = nullptr;
    plist_t item = nullptr;
    plist_dict_next_item(node, cursor, &key, &item);
    const std::unique_ptr<char, Freer> ownedKey(key);
    if (!item) break;
    std::optional<Value> value = valueOf(item);
    if (!key || !isValidUtf8(key) || !value) return std::nullopt;
    entries.set(std::string(key), *std::move(value));
  }
  return entries.build();
}

template <typename Number>
Number numberOf(plist_t node, void (*get)(plist_t, Number*)) {
  Number number{};
  get(node, &number);
  return number;
}

std::optional<Value> valueOf(plist_t node) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
      return Value(numberOf<uint8_t>(node, plist_get_bool_val) != 0);
    case PLIST_UINT:
      return Value(numberOf<uint64_t>(node, plist_get_uint_val));
    case PLIST_REAL:
      return Value(numberOf<double>(node, plist_get_real_val));
    case PLIST_STRING:
      return textOf(node);
    case PLIST_DATA:
      return dataOf(node);
    case PLIST_DATE:
      return dateOf(node);
    case PLIST_ARRAY:
      return arrayOf(node);
    case PLIST_DICT:
      return dictionaryOf(node);
    case PLIST_UID:
      return Dictionary{{"CF$UID", Value(numberOf<uint64_t>(node, plist_get_uid_val))}};
    default:
      return std::nullopt;
  }
}

std::optional<Value> entriesOf(plist_t root, const PropertyListKeys& keys) {
  DictionaryBuilder entries;
  for (const std::string_view key : keys) {
    const plist_t item = plist_dict_get_item(root, std::string(key).c_str());
    if (!item) continue;
    std::optional<Value> value = valueOf(item);
    if (!value) return std::nullopt;
    entries.set(std::string(key), *std::move(value));
  }
  return entries.build();
}

}  // namespace

bool isBinaryPropertyList(std::string_view bytes) {
  return bytes.starts_with("bplist0");
}

std::optional<Value> readBinaryPropertyList(std::string_view bytes, const PropertyListKeys* keys,
                                            BinaryPropertyListCheck& check) {
  if (bytes.size() > UINT32_MAX) return std::nullopt;
  if (!check.isSound(bytes, kMaxPropertyListDepth)) return std::nullopt;
  plist_t parsed = nullptr;
  plist_from_bin(bytes.data(), static_cast<uint32_t>(bytes.size()), &parsed);
  const PlistRef root(parsed);
  if (!root) return std::nullopt;
  if (keys && plist_get_node_type(root.get()) == PLIST_DICT) return entriesOf(root.get(), *keys);
  return valueOf(root.get());
}

}  // namespace revwarden
