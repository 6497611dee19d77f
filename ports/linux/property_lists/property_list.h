#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/value.h"

namespace revwarden {

/// Reads property lists that nobody vouches for, one after another, keeping its memory for the
/// next.
///
/// XML lists may be in any encoding that they declare, with or without byte order mark. Integers
/// that do not fit into 64 bits with sign are read as reals. A list with any error is absent as a
/// whole. One thread at a time.
class PropertyListReader {
 public:
  PropertyListReader();
  ~PropertyListReader();

  /// The value that `bytes` describe, in the XML or the binary form.
  std::optional<Value> read(std::string_view bytes);

  /// Of a list whose root is a dictionary, the entries with these keys. The whole list is checked
  /// as by `read`, but nothing else is built.
  std::optional<Dictionary> readEntries(std::string_view bytes,
                                        std::span<const std::string_view> keys);

 private:
  struct Tools;
  std::unique_ptr<Tools> tools_;
};

/// Reads a single property list. Any thread.
std::optional<Value> readPropertyList(std::string_view bytes);

/// The value as an XML property list. Dates are cut off to whole seconds, toward the past, and kept
/// within the years 1 to 9999; a text loses the characters that XML forbids. Any thread.
std::string writeXmlPropertyList(const Value& value);

}  // namespace revwarden
