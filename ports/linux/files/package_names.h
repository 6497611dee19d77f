#pragma once

#include <string_view>

namespace revwarden {

/// Whether a folder of this name is an application bundle: its extension is "app", in any letter
/// case.
bool isApplicationName(std::string_view name);

/// Whether a folder of this name is a package, which users see as one file: its extension is one of
/// the usual ones of bundles, in any letter case.
bool isPackageName(std::string_view name);

/// Whether one of the folders above the path is a package.
bool isPathInPackage(std::string_view path);

}  // namespace revwarden
