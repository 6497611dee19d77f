#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/value.h"
#include "platform/property_list.h"

namespace revwarden {

/// How many levels a list may have: its root is the first, its root's elements are the second.
inline constexpr size_t kMaxPropertyListDepth = 128;

/// How many values a binary or text list may have, keys included. Those that a binary list shares
/// count each time they are used.
inline constexpr size_t kMaxPropertyListValues = 4'000'000;

/// Keys of the root dictionary whose entries are wanted.
using PropertyListKeys = std::span<const std::string_view>;

/// Returns true if `key` is one of `keys`, or if these are absent, which stands for all keys.
inline bool isWantedKey(std::string_view key, const PropertyListKeys* keys) {
  return !keys || std::find(keys->begin(), keys->end(), key) != keys->end();
}

/// Reads untrusted property lists, one after another, and keeps its buffers for the next one.
///
/// The XML form may be in any encoding that it declares, with or without byte order mark; the text
/// form is UTF-8. Integers that do not fit into 64 bits with sign are read as reals, and a UID as
/// the dictionary {"CF$UID": number}. Of entries with the same key the last one counts. Used by one
/// thread at a time.
class PropertyListReader {
 public:
  PropertyListReader();
  ~PropertyListReader();

  /// Returns the value of the XML, binary or text list, or nothing if any part of it is malformed
  /// or a limit above is exceeded.
  std::optional<Value> read(std::string_view bytes);

  /// Returns the entries with these keys of a list whose root is a dictionary, or nothing for any
  /// other list. The whole list is checked as by `read`.
  std::optional<Dictionary> readEntries(std::string_view bytes, PropertyListKeys keys);

 private:
  struct Tools;
  std::unique_ptr<Tools> tools_;
};

/// Reads a single property list. Any thread.
std::optional<Value> readPropertyList(std::string_view bytes);

/// Returns the value as an XML property list. Dates lose their fraction and are brought into the
/// years 1 to 9999; texts lose the characters that XML forbids. Any thread.
std::string writeXmlPropertyList(const Value& value);

/// The platform's reader of property lists.
class LinuxPropertyLists final : public PropertyLists {
 public:
  std::optional<Value> propertyListFromData(std::string_view bytes) const override;
};

}  // namespace revwarden
