#pragma once

#include "platform/localization.h"

namespace revwarden {

/// English texts: every text is its own key. Formats are written in the plural; for a count of 1
/// the word after the number loses its "s": "3 applications", "1 application".
class EnglishLocalization final : public Localization {
 public:
  std::string KQLocalizedString(std::string_view key) const override;
  std::string KQLocalizedNumberStringWithFormat(std::string_view format, uint32_t count,
                                                std::string_view text) const override;
};

}  // namespace revwarden
