#include "ports/linux/property_lists/text_property_list.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "ports/linux/property_lists/property_list_scalars.h"

namespace revwarden {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kSpace = " \t\n\v\f\r";
constexpr std::string_view kNotInWords = "\"'(),;<=>[\\]`{}";
constexpr std::string_view kEscapes = "abfnrtv";
constexpr std::string_view kEscaped = "\a\b\f\n\r\t\v";

// The characters from 0x80 of the NeXTSTEP encoding.
constexpr std::array<char16_t, 128> kNextstep = {
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB,
    0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9,
    0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3,
    0x2044, 0x00A5, 0x0192, 0x00A7, 0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x00AE, 0x2013, 0x2020, 0x2021, 0x00B7, 0x00A6, 0x00B6, 0x2022, 0x201A, 0x201E, 0x201D, 0x00BB,
    0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9, 0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9,
    0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD, 0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD,
    0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1, 0x0141, 0x00D8, 0x0152, 0x00BA,
    0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB, 0x0131, 0x00FC, 0x00FD,
    0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0xFFFD, 0xFFFD};

bool isInWords(char c) {
  return c > ' ' && c < '\x7F' && kNotInWords.find(c) == kNotInWords.npos;
}

class TextReader {
 public:
  TextReader(std::string_view list, const PropertyListKeys* keys) : keys_(keys), rest_(list) {}

  std::optional<Value> read();

 private:
  // These skip white space and comments first.
  bool isAt(char c);
  bool isAtEnd();
  bool take(std::string_view token);

  // Returns false if there are too many values. Keys count, too.
  bool countValue() { return ++values_ <= kMaxPropertyListValues; }
  std::optional<Value> value(size_t depth);
  std::optional<Value> dictionary(bool hasBraces, size_t depth);
  std::optional<Value> array(size_t depth);
  std::optional<Value> data();
  std::optional<Value> base64();
  std::optional<Value> typedValue();
  std::optional<std::string> text();
  std::optional<std::string> quotedText();

  void skipSpace();
  std::string_view takeFront(size_t size);
  bool takeEscape(std::string& out);
  bool takeUtf16(std::string& out);
  bool takeOctal(std::string& out);
  // Takes at most so many digits.
  std::optional<unsigned> takeNumber(size_t maxDigits, int base);

  const PropertyListKeys* const keys_;
  std::string_view rest_;
  size_t values_ = 0;
};

std::optional<Value> TextReader::read() {
  if (isAtEnd()) return std::nullopt;
  const std::string_view list = rest_;
  if (std::optional<Value> root = value(1); root && isAtEnd()) return root;
  rest_ = list;
  return dictionary(false, 1);
}

bool TextReader::isAt(char c) {
  skipSpace();
  return rest_.starts_with(c);
}

bool TextReader::isAtEnd() {
  skipSpace();
  return rest_.empty();
}

bool TextReader::take(std::string_view token) {
  skipSpace();
  const bool isNext = rest_.starts_with(token);
  if (isNext) takeFront(token.size());
  return isNext;
}

std::optional<Value> TextReader::value(size_t depth) {
  if (depth > kMaxPropertyListDepth || !countValue()) return std::nullopt;
  if (take("{")) return dictionary(true, depth);
  if (take("(")) return array(depth);
  if (take("<*")) return typedValue();
  if (take("<[")) return base64();
  if (take("<")) return data();
  return text();
}

std::optional<Value> TextReader::dictionary(bool hasBraces, size_t depth) {
  DictionaryBuilder entries;
  while (hasBraces ? !take("}") : !isAtEnd()) {
    std::optional<std::string> key = countValue() ? text() : std::nullopt;
    if (!key) return std::nullopt;
    std::optional<Value> entry = "";
    if (take("=")) {
      entry = hasBraces ? value(depth + 1) : text();
    } else if (hasBraces) {
      return std::nullopt;
    }
    if (!entry || (!take(";") && !(hasBraces && isAt('}')))) return std::nullopt;
    const bool isWanted = depth > 1 || isWantedKey(*key, keys_);
    if (isWanted) entries.set(*std::move(key), *std::move(entry));
  }
  return entries.build();
}

std::optional<Value> TextReader::array(size_t depth) {
  std::vector<Value> elements;
  while (!take(")")) {
    std::optional<Value> element = value(depth + 1);
    if (!element || (!take(",") && !isAt(')'))) return std::nullopt;
    elements.push_back(*std::move(element));
  }
  return Array(std::move(elements));
}

std::optional<Value> TextReader::data() {
  Data data;
  while (!take(">")) {
    const std::string_view digits = takeFront(2);
    const int high = digits.size() == 2 ? g_ascii_xdigit_value(digits[0]) : -1;
    const int low = digits.size() == 2 ? g_ascii_xdigit_value(digits[1]) : -1;
    if (high < 0 || low < 0) return std::nullopt;
    data.bytes += static_cast<char>(high << 4 | low);
  }
  return data;
}

std::optional<Value> TextReader::base64() {
  const size_t end = rest_.find("]>");
  if (end == rest_.npos) return std::nullopt;
  Data data = dataFromBase64(takeFront(end));
  take("]>");
  return data;
}

std::optional<Value> TextReader::typedValue() {
  const size_t end = rest_.find('>');
  if (end == rest_.npos || end == 0) return std::nullopt;
  const char type = takeFront(1).front();
  std::string_view text = takeFront(end - 1);
  take(">");
  if (text.size() > 2 && text.starts_with('"') && text.ends_with('"')) {
    text = text.substr(1, text.size() - 2);
  }
  switch (type) {
    case 'I':
      return integerFromText(text);
    case 'R':
      return realFromText(text);
    case 'D':
      return dateFromText(text);
    case 'B':
      return text == "Y" || text == "N" ? std::optional<Value>(text == "Y") : std::nullopt;
    default:
      return std::nullopt;
  }
}

std::optional<std::string> TextReader::text() {
  if (take("\"")) return quotedText();
  const auto end = std::find_if_not(rest_.begin(), rest_.end(), isInWords);
  return std::string(takeFront(static_cast<size_t>(end - rest_.begin())));
}

std::optional<std::string> TextReader::quotedText() {
  std::string text;
  while (true) {
    text += takeFront(rest_.find_first_of("\"\\"));
    const std::string_view end = takeFront(1);
    if (end == "\"") return text;
    if (end.empty() || !takeEscape(text)) return std::nullopt;
  }
}

void TextReader::skipSpace() {
  while (!rest_.empty()) {
    if (kSpace.find(rest_.front()) != kSpace.npos) {
      takeFront(1);
    } else if (rest_.starts_with("//")) {
      takeFront(rest_.find('\n'));
    } else if (rest_.starts_with("/*")) {
      takeFront(2);
      takeFront(rest_.find("*/"));
      takeFront(2);
    } else {
      return;
    }
  }
}

// Takes all that is left if that is less.
std::string_view TextReader::takeFront(size_t size) {
  const std::string_view front = rest_.substr(0, size);
  rest_.remove_prefix(front.size());
  return front;
}

// Reads what follows a backslash.
bool TextReader::takeEscape(std::string& out) {
  if (rest_.starts_with('U') || rest_.starts_with('u')) return takeUtf16(out);
  if (rest_.substr(0, 1).find_first_of("01234567") == 0) return takeOctal(out);
  const std::string_view character = takeFront(1);
  const size_t escape = kEscapes.find(character);
  out += character.empty() || escape == kEscapes.npos ? character : kEscaped.substr(escape, 1);
  return !character.empty();
}

// Reads all of several escapes in a row, as a character may need two.
bool TextReader::takeUtf16(std::string& out) {
  std::u16string units;
  do {
    takeFront(1);
    const std::optional<unsigned> unit = takeNumber(4, 16);
    if (!unit) return false;
    units += static_cast<char16_t>(*unit);
    if (!rest_.starts_with("\\U") && !rest_.starts_with("\\u")) return appendUtf16(out, units);
    takeFront(1);
  } while (true);
}

bool TextReader::takeOctal(std::string& out) {
  const std::optional<unsigned> code = takeNumber(3, 8);
  if (!code || *code > 0xFF) return false;
  const auto unit = *code < 0x80 ? static_cast<char16_t>(*code) : kNextstep[*code - 0x80];
  return appendUtf16(out, {&unit, 1});
}

std::optional<unsigned> TextReader::takeNumber(size_t maxDigits, int base) {
  const std::string_view digits = rest_.substr(0, maxDigits);
  unsigned number = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
  if (error != std::errc()) return std::nullopt;
  takeFront(static_cast<size_t>(end - digits.data()));
  return number;
}

}  // namespace

std::optional<Value> readTextPropertyList(std::string_view bytes, const PropertyListKeys* keys) {
  if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
  if (!isValidUtf8(bytes)) return std::nullopt;
  return TextReader(bytes, keys).read();
}

}  // namespace revwarden
