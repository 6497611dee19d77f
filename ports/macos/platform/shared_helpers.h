#pragma once

#include "platform/helper.h"

namespace revwarden {

/// The shared library's privileged helpers.
class SharedHelpers final : public KQHelperManager {
 public:
  Result<std::shared_ptr<KQHelperTask>> rootTaskWithPrompt(std::string_view prompt) override;
};

}  // namespace revwarden
