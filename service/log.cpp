#include "service/log.h"

#include <algorithm>
#include <cstdio>

#include "base/text.h"

namespace revwarden {
namespace {

bool isControl(std::string_view character) {
  const auto first = static_cast<unsigned char>(character.front());
  const bool isC1 = first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
  return first < 0x20 || first == 0x7F || isC1;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const size_t length = utf8SequenceLength(text);
    const std::string_view character = text.substr(0, std::max<size_t>(1, length));
    result += length == 0 || isControl(character) ? "?" : character;
    text.remove_prefix(character.size());
  }
  return result;
}

void logLine(std::string_view text) {
  const std::string line = printable(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace revwarden
