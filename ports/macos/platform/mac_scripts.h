#pragma once

#include "platform/workspace.h"

namespace revwarden {

/// AppleScript.
class MacScripts final : public AppleScripts {
 public:
  Result<> executeSource(std::string_view source) override;
};

}  // namespace revwarden
