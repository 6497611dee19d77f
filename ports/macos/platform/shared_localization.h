#pragma once

#include <memory>
#include <utility>

#include "platform/localization.h"

namespace revwarden {

struct AgentReference;

/// Texts from the bundle of the agent's class, as the shared library finds them.
class SharedLocalization final : public Localization {
 public:
  explicit SharedLocalization(std::shared_ptr<const AgentReference> agent)
      : agent_(std::move(agent)) {}

  std::string KQLocalizedString(std::string_view key) const override;
  /// Main thread, as the notice that it is for.
  std::string KQLocalizedNumberStringWithFormat(std::string_view format, uint32_t count,
                                                std::string_view text) const override;

 private:
  const std::shared_ptr<const AgentReference> agent_;
};

}  // namespace revwarden
