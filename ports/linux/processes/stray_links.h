#pragma once

#include <string>

namespace revwarden {

/// Whether a link leads out of the folder that it lies in at this path. One that leads to nothing
/// inside does not.
bool leadsOut(int folder, const std::string& link);

/// Removes all links at any depth below a folder that lead out of it. Whether none is left; a
/// folder that is not there holds none.
bool removeStrayLinks(const std::string& folder);

}  // namespace revwarden
