#pragma once

#include <optional>
#include <string>

#include "base/result.h"

namespace revwarden {

/// The message of the error that a result holds; absent after success.
template <typename T>
std::optional<std::string> errorOf(const Result<T>& result) {
  return result ? std::nullopt : std::optional(result.error().message);
}

}  // namespace revwarden
