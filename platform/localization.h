#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace revwarden {

/// User-facing texts in the user's language. The English text is the key. Any thread.
class Localization {
 public:
  virtual ~Localization() = default;

  /// The text for `key`; `key` itself where there is no translation.
  virtual std::string KQLocalizedString(std::string_view key) const = 0;

  /// The text for the key `format`, with "%?1$u" replaced by `count`, in the grammatical form that
  /// the count asks for, and "%2$@" by `text`. `text` is inserted as it stands, whatever it holds.
  virtual std::string KQLocalizedNumberStringWithFormat(std::string_view format, uint32_t count,
                                                        std::string_view text) const = 0;
};

}  // namespace revwarden
