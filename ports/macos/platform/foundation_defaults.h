#pragma once

#include "platform/user_defaults.h"

namespace revwarden {

/// The standard user defaults of the application that loaded the plug-in. The system writes them
/// and does not report write errors.
class FoundationDefaults final : public UserDefaults {
 public:
  std::optional<Dictionary> dictionaryForKey(std::string_view key) override;
  void setDictionary(const Dictionary& dictionary, std::string_view key) override;
  bool synchronize() override;
};

}  // namespace revwarden
