#include "base/text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>

namespace revwarden {
namespace {

// Tab and the Unicode category of space separators, in UTF-8.
constexpr std::array<std::string_view, 18> kSpaces = {"\t",           " ",
                                                      "\xC2\xA0",     "\xE1\x9A\x80",
                                                      "\xE2\x80\x80", "\xE2\x80\x81",
                                                      "\xE2\x80\x82", "\xE2\x80\x83",
                                                      "\xE2\x80\x84", "\xE2\x80\x85",
                                                      "\xE2\x80\x86", "\xE2\x80\x87",
                                                      "\xE2\x80\x88", "\xE2\x80\x89",
                                                      "\xE2\x80\x8A", "\xE2\x80\xAF",
                                                      "\xE2\x81\x9F", "\xE3\x80\x80"};

// Line feed to carriage return, next line, line and paragraph separator.
constexpr std::array<std::string_view, 7> kLineBreaks = {
    "\n", "\v", "\f", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"};

std::string_view trimming(std::string_view text, std::span<const std::string_view> characters) {
  const auto mayBeOne = [](char c) { return (c > 0 && c <= ' ') || (c & 0x80) != 0; };
  if (text.empty() || (!mayBeOne(text.front()) && !mayBeOne(text.back()))) return text;
  for (bool trimmed = true; trimmed;) {
    trimmed = false;
    for (const std::string_view character : characters) {
      while (text.starts_with(character)) text.remove_prefix(character.size()), trimmed = true;
      while (text.ends_with(character)) text.remove_suffix(character.size()), trimmed = true;
    }
  }
  return text;
}

const std::string& argumentText(const std::vector<std::optional<std::string>>& arguments,
                                size_t index) {
  static const std::string& absent = *new std::string("(null)");
  return index < arguments.size() && arguments[index] ? *arguments[index] : absent;
}

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

// Where the extension of a name begins; npos when it has none.
size_t extensionDot(std::string_view name) {
  const size_t dot = name.rfind('.');
  return dot == 0 || name == ".." ? name.npos : dot;
}

bool standsInURLPaths(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("/-._~!$&'()*+,=:@").find(c) != std::string_view::npos;
}

}  // namespace

size_t utf8SequenceLength(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const auto follows = [&](size_t i, unsigned low, unsigned high) {
    return i < text.size() && byte(i) >= low && byte(i) <= high;
  };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first <= 0xDF) return follows(1, 0x80, 0xBF) ? 2 : 0;
  if (first >= 0xE0 && first <= 0xEF) {
    const unsigned low = first == 0xE0 ? 0xA0 : 0x80;
    const unsigned high = first == 0xED ? 0x9F : 0xBF;
    return follows(1, low, high) && follows(2, 0x80, 0xBF) ? 3 : 0;
  }
  if (first >= 0xF0 && first <= 0xF4) {
    const unsigned low = first == 0xF0 ? 0x90 : 0x80;
    const unsigned high = first == 0xF4 ? 0x8F : 0xBF;
    return follows(1, low, high) && follows(2, 0x80, 0xBF) && follows(3, 0x80, 0xBF) ? 4 : 0;
  }
  return 0;
}

bool isValidUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const size_t length = utf8SequenceLength(bytes);
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

char32_t takeCharacter(std::string_view& text) {
  const size_t length = utf8SequenceLength(text);
  auto character =
      static_cast<unsigned char>(text[0]) & (length < 2 ? 0x7Fu : 0xFFu >> (length + 1));
  for (size_t i = 1; i < length; ++i) {
    character = character << 6 | (static_cast<unsigned char>(text[i]) & 0x3Fu);
  }
  text.remove_prefix(std::max<size_t>(length, 1));
  if (length > 0) return character;
  while (!text.empty() && (text[0] & 0xC0) == 0x80) text.remove_prefix(1);
  return U'\uFFFD';
}

void appendUtf8(std::string& text, char32_t character) {
  if (character < 0x80) {
    text += static_cast<char>(character);
    return;
  }
  constexpr unsigned kLead[] = {0, 0xC0, 0xE0, 0xF0};
  const int tail = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  text += static_cast<char>(kLead[tail] | character >> 6 * tail);
  for (int i = tail - 1; i >= 0; --i) text += static_cast<char>(0x80 | (character >> 6 * i & 0x3F));
}

bool isUnsafeToPrint(char32_t c) {
  const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0);
  const bool isSeparator = c == 0x2028 || c == 0x2029;
  const bool isDirectionMark = c == 0x061C || c == 0x200E || c == 0x200F ||
                               (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
  return isControl || isSeparator || isDirectionMark;
}

std::string escaped(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  while (!text.empty()) {
    const char32_t character = takeCharacter(text);
    if (character == '\n') {
      line += "\\n";
    } else if (isUnsafeToPrint(character)) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character));
      line += escape;
    } else {
      appendUtf8(line, character);
    }
  }
  return line;
}

std::string asciiUpperCase(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

std::string_view trimmingSpaces(std::string_view text) {
  return trimming(text, kSpaces);
}

std::string_view trimmingSpacesAndLineBreaks(std::string_view text) {
  for (size_t before = 0; before != text.size();) {
    before = text.size();
    text = trimming(trimming(text, kSpaces), kLineBreaks);
  }
  return text;
}

std::string formatted(std::string_view format,
                      const std::vector<std::optional<std::string>>& arguments) {
  std::string result;
  size_t next = 0;
  while (!format.empty()) {
    const size_t percent = std::min(format.find('%'), format.size());
    result += format.substr(0, percent);
    format.remove_prefix(percent);
    if (format.starts_with("%@")) {
      result += argumentText(arguments, next++);
      format.remove_prefix(2);
    } else if (format.starts_with("%%")) {
      result += '%';
      format.remove_prefix(2);
    } else if (format.size() >= 4 && format[1] >= '1' && format[1] <= '9' &&
               format.substr(2, 2) == "$@") {
      result += argumentText(arguments, static_cast<size_t>(format[1] - '1'));
      format.remove_prefix(4);
    } else if (!format.empty()) {
      result += format.front();
      format.remove_prefix(1);
    }
  }
  return result;
}

std::string_view lastPathComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  if (path == "/") return path;
  const size_t slash = path.rfind('/');
  return slash == path.npos ? path : path.substr(slash + 1);
}

std::string_view pathExtension(std::string_view path) {
  const std::string_view name = lastPathComponent(path);
  const size_t dot = extensionDot(name);
  return dot == name.npos ? std::string_view() : name.substr(dot + 1);
}

std::string_view deletingPathExtension(std::string_view path) {
  const std::string_view name = lastPathComponent(path);
  const size_t dot = extensionDot(name);
  if (dot == name.npos) return withoutTrailingSlashes(path);
  return path.substr(0, static_cast<size_t>(name.data() - path.data()) + dot);
}

std::string fileURLWithPath(std::string_view path) {
  std::string url = "file://";
  for (const char c : path) {
    if (standsInURLPaths(c)) {
      url += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      url += '%';
      url += "0123456789ABCDEF"[byte >> 4];
      url += "0123456789ABCDEF"[byte & 15];
    }
  }
  return url;
}

}  // namespace revwarden
