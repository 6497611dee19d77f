#pragma once

#include <string>

#include "base/result.h"

// Links that lead out of the folder tree that they lie in.
namespace revwarden {

/// Returns true if the link at `path`, relative to the open folder `top`, leads out of that folder.
/// A link to something missing inside does not.
bool leadsOut(int top, const std::string& path);

/// Removes all links at any depth below a folder that lead out of it. A missing folder has none. On
/// an error some may be left.
Result<> removeEscapingLinks(const std::string& folder);

}  // namespace revwarden
