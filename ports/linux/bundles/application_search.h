#pragma once

#include <string>
#include <vector>

namespace revwarden {

/// Searches folders at any depth for application bundles and returns their full paths, each once,
/// in no particular order. Reads the disk anew.
///
/// Packages are not searched, also not through a link to a folder in one. Links to bundles and
/// folders are followed, each folder once; a bundle keeps the path by which it was found. Folders
/// that cannot be read and names that are not UTF-8 are left out.
std::vector<std::string> applicationBundlesBelow(const std::vector<std::string>& folders);

}  // namespace revwarden
