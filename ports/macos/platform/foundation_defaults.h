#pragma once

#include "platform/user_defaults.h"

namespace revwarden {

/// The standard user defaults, of the application that loaded the plug-in. Keeping them whole on
/// the disk is the system's part; it tells of no failure to write.
class FoundationDefaults final : public UserDefaults {
 public:
  std::optional<Dictionary> dictionaryForKey(std::string_view key) override;
  void setDictionary(const Dictionary& dictionary, std::string_view key) override;
  bool synchronize() override;
};

}  // namespace revwarden
