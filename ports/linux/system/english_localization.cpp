#include "ports/linux/system/english_localization.h"

#include <algorithm>

namespace revwarden {
namespace {

constexpr std::string_view kCountPlaceholder = "%?1$u";
constexpr std::string_view kTextPlaceholder = "%2$@";

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Returns the space at the start of `text` with the word after it, or "" without a space.
std::string_view followingWord(std::string_view text) {
  if (text.empty() || text.front() != ' ') return {};
  const auto end = std::find_if_not(text.begin() + 1, text.end(), isLetter);
  return text.substr(0, static_cast<size_t>(end - text.begin()));
}

}  // namespace

std::string EnglishLocalization::KQLocalizedString(std::string_view key) const {
  return std::string(key);
}

std::string EnglishLocalization::KQLocalizedNumberStringWithFormat(std::string_view format,
                                                                   uint32_t count,
                                                                   std::string_view text) const {
  std::string result;
  while (!format.empty()) {
    if (format.starts_with(kCountPlaceholder)) {
      format.remove_prefix(kCountPlaceholder.size());
      result += std::to_string(count);
      const std::string_view noun = followingWord(format);
      if (count == 1 && noun.ends_with('s')) {
        result += noun.substr(0, noun.size() - 1);
        format.remove_prefix(noun.size());
      }
    } else if (format.starts_with(kTextPlaceholder)) {
      format.remove_prefix(kTextPlaceholder.size());
      result += text;
    } else {
      result += format.front();
      format.remove_prefix(1);
    }
  }
  return result;
}

}  // namespace revwarden
