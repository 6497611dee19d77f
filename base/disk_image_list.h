#pragma once

#include <optional>
#include <string>

#include "base/value.h"

namespace revwarden {

/// Returns the first mount point in the property list that `hdiutil attach -plist` prints; absent
/// if nothing was mounted or the list has another form.
std::optional<std::string> firstMountPoint(const Value& attachList);

}  // namespace revwarden
