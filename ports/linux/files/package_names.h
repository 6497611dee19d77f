#pragma once

#include <string_view>

// Packages are folders that users see as one file. They are recognized by their extension, in any
// letter case.
namespace revwarden {

/// Returns true if a folder of this name is an application bundle: its extension is "app".
bool isApplicationName(std::string_view name);

/// Returns true if a folder of this name is a package: its extension is one that bundles have.
bool isPackageName(std::string_view name);

/// Returns true if one of the folders above the path is a package.
bool isPathInPackage(std::string_view path);

}  // namespace revwarden
