#pragma once

#include <optional>
#include <string>

#include "platform/version.h"

namespace revwarden {

struct Bundle;
struct Platform;

/// Returns the version of a bundle, the better one of its short and its full version; nullptr if it
/// has none. Any thread.
Versions::VersionRef versionOfBundle(const Platform& platform, const Bundle& bundle);

/// Reads the version of the application that is at a path now; absent if there is none, or it has
/// no version. Any thread.
std::optional<std::string> installedVersion(const Platform& platform, const std::string& path);

}  // namespace revwarden
