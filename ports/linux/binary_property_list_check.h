#pragma once

#include <cstddef>
#include <string_view>

namespace revwarden {

/// Whether libplist can be trusted with a binary property list. It neither bounds the nesting nor
/// what objects that are referred to many times unfold to, and it reads lengths and offsets that
/// this makes sure of: every object that the root reaches lies whole within the list, has a known
/// type, and none contains itself.
bool isSoundBinaryPropertyList(std::string_view bytes, size_t maxDepth);

}  // namespace revwarden
