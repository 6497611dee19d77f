#pragma once

#include <optional>
#include <string_view>

#include "base/value.h"
#include "ports/linux/property_lists/property_list.h"

namespace revwarden {

/// Reads the text form of property lists, as OpenStep and GNUstep write it:
///
///     { Name = Ink; Title = "Ink \U2014 Pens"; Icons = (a.tiff, b.tiff); Seal = <0fbd77 1c>; }
///
/// The text is UTF-8. Numbers are texts, except in GNUstep's typed values <*I5>, <*R1.5>, <*BY> and
/// <*D2001-01-02 03:04:05 +0000>. As for GNUstep, the semicolon of a dictionary's last entry may be
/// absent; so may the braces of a root dictionary whose values are all texts, and there `key;` has
/// an empty text as value. A value or key that is absent, as in `key = ;`, is an empty text. Octal
/// escapes above \177 are in the NeXTSTEP encoding, \Uxxxx is UTF-16.
///
/// Returns nothing if the list is empty, malformed, or exceeds a limit. With `keys`, a root
/// dictionary has no other entries. Any thread.
std::optional<Value> readTextPropertyList(std::string_view bytes, const PropertyListKeys* keys);

}  // namespace revwarden
