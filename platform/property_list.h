#pragma once

#include <optional>
#include <string_view>

#include "base/value.h"

namespace revwarden {

/// Reads property lists in their XML, binary and text form. Any thread.
class PropertyLists {
 public:
  virtual ~PropertyLists() = default;

  /// Returns the value that `bytes` describe, or nothing if they are not a property list, nest
  /// deeper than 128 levels, or describe a value too large for memory.
  virtual std::optional<Value> propertyListFromData(std::string_view bytes) const = 0;
};

}  // namespace revwarden
