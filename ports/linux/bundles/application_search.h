#pragma once

#include <string>
#include <vector>

namespace revwarden {

/// The full paths of the application bundles at any depth below the folders, each once, in no
/// particular order. Reads the disk anew.
///
/// Packages are not searched: neither what is inside a bundle nor a folder inside one that a link
/// leads to. Links to bundles and to folders are followed, each folder once; what is found keeps
/// the path by which it was reached. Left out are folders that cannot be read and names that are
/// not UTF-8.
std::vector<std::string> applicationBundlesBelow(const std::vector<std::string>& folders);

}  // namespace revwarden
