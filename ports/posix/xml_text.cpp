#include "ports/posix/xml_text.h"

#include <array>

#include "base/text.h"

namespace revwarden {
namespace {

// How a byte is written.
enum Kind : unsigned char { kPlain, kForbidden, kEscaped, kEscapedInAttribute, kMultibyte };

constexpr std::array<Kind, 256> kKinds = [] {
  std::array<Kind, 256> kinds{};
  for (size_t c = 0; c < 0x20; ++c) kinds[c] = kForbidden;
  for (size_t c = 0x80; c < 0x100; ++c) kinds[c] = kMultibyte;
  for (const unsigned char c : {'&', '<', '>', '\r'}) kinds[c] = kEscaped;
  for (const unsigned char c : {'"', '\t', '\n'}) kinds[c] = kEscapedInAttribute;
  return kinds;
}();

Kind kindOf(char c) {
  return kKinds[static_cast<unsigned char>(c)];
}

std::string_view escapeOf(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\t':
      return "&#9;";
    case '\n':
      return "&#10;";
    default:
      return "&#13;";
  }
}

// The length of the character at the start of `text`; 0 if it is malformed or U+FFFE or U+FFFF,
// which XML forbids.
size_t multibyteLength(std::string_view text) {
  const size_t length = utf8SequenceLength(text);
  const std::string_view character = text.substr(0, length);
  return character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF" ? 0 : length;
}

void appendEscaped(std::string& out, std::string_view text, bool inAttribute) {
  size_t start = 0;
  const auto flushUpTo = [&](size_t end) { out.append(text.data() + start, end - start); };
  for (size_t i = 0; i < text.size();) {
    const Kind kind = kindOf(text[i]);
    if (kind == kPlain || (kind == kEscapedInAttribute && !inAttribute)) {
      ++i;
      continue;
    }
    const size_t length = kind == kMultibyte ? multibyteLength(text.substr(i)) : 0;
    if (length == 0) {
      flushUpTo(i);
      if (kind == kEscaped || kind == kEscapedInAttribute) out += escapeOf(text[i]);
      start = i + 1;
    }
    i += length == 0 ? 1 : length;
  }
  flushUpTo(text.size());
}

bool isAsciiNameStart(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool isAsciiNameCharacter(char c) {
  return isAsciiNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == ':';
}

}  // namespace

void appendXmlText(std::string& out, std::string_view text) {
  appendEscaped(out, text, false);
}

void appendXmlAttributeValue(std::string& out, std::string_view text) {
  appendEscaped(out, text, true);
}

void appendXmlName(std::string& out, std::string_view name) {
  if (name.empty() || !isAsciiNameStart(name.front())) out += '_';
  for (const char c : name) {
    if (isAsciiNameCharacter(c)) out += c;
  }
}

}  // namespace revwarden
