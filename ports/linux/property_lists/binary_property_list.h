#pragma once

#include <optional>
#include <string_view>

#include "base/value.h"
#include "ports/linux/property_lists/property_list.h"

// The binary form of property lists. Any thread.
namespace revwarden {

/// Returns true if the bytes begin as a binary list.
bool isBinaryPropertyList(std::string_view bytes);

/// Returns the list's value, or nothing if a part of it that the root reaches is malformed,
/// contains itself, or exceeds a limit. With `keys`, only those entries of a root dictionary are
/// built.
std::optional<Value> readBinaryPropertyList(std::string_view bytes, const PropertyListKeys* keys);

}  // namespace revwarden
