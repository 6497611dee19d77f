#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace revwarden {

/// Keeps the last 4 KiB of the text that a program writes, for an error message.
class TextTail {
 public:
  void append(std::string_view bytes) {
    text_.append(bytes);
    if (text_.size() > kLength) text_.erase(0, text_.size() - kLength);
  }

  /// From the first whole UTF-8 character on, without line breaks at the end.
  std::string text() const {
    size_t begin = 0;
    while (begin < text_.size() && (text_[begin] & 0xC0) == 0x80) ++begin;
    const size_t end = text_.find_last_not_of("\r\n") + 1;
    return begin < end ? text_.substr(begin, end - begin) : std::string();
  }

 private:
  static constexpr size_t kLength = 4096;

  std::string text_;
};

}  // namespace revwarden
