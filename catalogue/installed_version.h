#pragma once

#include <optional>
#include <string>

#include "platform/version.h"

namespace revwarden {

struct Bundle;
struct Platform;

/// Returns the better one of a bundle's short and full version; nullptr if it has neither. Any
/// thread.
Versions::VersionRef versionOfBundle(const Platform& platform, const Bundle& bundle);

/// Reads the version of the application at a full path from the disk; absent if there is no
/// application or it has no version. Any thread.
std::optional<std::string> installedVersion(const Platform& platform, const std::string& path);

}  // namespace revwarden
