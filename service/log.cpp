#include "service/log.h"

#include <cstdio>

#include "base/text.h"

namespace revwarden {

std::string printable(std::string_view text) {
  const bool wellFormed = isValidUtf8(text);
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool c1 = byte == 0xC2 && i + 1 < text.size() &&
                    static_cast<unsigned char>(text[i + 1]) < 0xA0;  // U+0080 to U+009F
    const bool shown = byte >= 0x20 && byte != 0x7F && (byte < 0x80 || wellFormed) && !c1;
    result += shown ? text[i] : '?';
    if (c1) ++i;
  }
  return result;
}

void logLine(std::string_view text) {
  const std::string line = printable(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace revwarden
