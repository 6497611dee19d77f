#pragma once

#include <optional>
#include <string_view>

#include "base/value.h"
#include "ports/linux/property_lists/binary_property_list_check.h"
#include "ports/linux/property_lists/xml_property_list.h"

// Binary property lists, by libplist. Any thread.
namespace revwarden {

/// Whether the bytes claim to be a binary list.
bool isBinaryPropertyList(std::string_view bytes);

/// The list's value; absent when it is damaged, circular, nested too deeply, or would unfold to
/// much more than it is. With `keys`, only those entries of a root dictionary are built. Dates past
/// the year 2068 do not survive libplist.
std::optional<Value> readBinaryPropertyList(std::string_view bytes, const PropertyListKeys* keys,
                                            BinaryPropertyListCheck& check);

}  // namespace revwarden
