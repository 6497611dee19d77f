#pragma once

#include <string>

namespace revwarden {

/// A new random UUID (version 4) in its usual form of 36 upper-case characters. Any thread.
std::string stringWithUUID();

}  // namespace revwarden
