#pragma once

#include <optional>
#include <string_view>

#include "base/value.h"

namespace revwarden {

/// Reads property lists, in their XML and their binary form. Any thread.
class PropertyLists {
 public:
  virtual ~PropertyLists() = default;

  /// The value that `bytes` describe; absent when they are no property list, or one nested deeper
  /// than 128 levels or grown beyond what any honest list needs.
  virtual std::optional<Value> propertyListFromData(std::string_view bytes) const = 0;
};

}  // namespace revwarden
