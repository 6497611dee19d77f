#pragma once

#include <string>

namespace revwarden {

/// Returns a new random UUID (version 4) as 36 upper-case characters. Any thread.
std::string stringWithUUID();

}  // namespace revwarden
