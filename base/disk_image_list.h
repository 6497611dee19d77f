#pragma once

#include <optional>
#include <string>

#include "base/value.h"

namespace revwarden {

/// The first mount point in the property list that `hdiutil attach -plist` prints; absent when the
/// list is of another form or nothing was mounted.
std::optional<std::string> firstMountPoint(const Value& attachList);

}  // namespace revwarden
