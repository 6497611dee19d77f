#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace revwarden {

/// Texts for the user in the user's language. The key of a text is the English text. Any thread.
class Localization {
 public:
  virtual ~Localization() = default;

  /// Returns the text for `key`, or `key` itself if it has no translation.
  virtual std::string KQLocalizedString(std::string_view key) const = 0;

  /// Returns the text for the key `format`, in which "%?1$u" is replaced by `count`, in the
  /// grammatical form that the count requires, and "%2$@" by `text`. `text` may contain anything
  /// and is not interpreted.
  virtual std::string KQLocalizedNumberStringWithFormat(std::string_view format, uint32_t count,
                                                        std::string_view text) const = 0;
};

}  // namespace revwarden
