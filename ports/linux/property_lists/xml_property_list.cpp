#include "ports/linux/property_lists/xml_property_list.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

#include "ports/linux/property_lists/property_list_date.h"

namespace revwarden {
namespace {

constexpr std::string_view kSpace = " \t\r\n";

bool isSpace(char c) {
  return c == '\n' || c == '\t' || c == ' ' || c == '\r';
}

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(kSpace);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

template <typename Number, typename... Base>
std::optional<Number> wholeNumber(std::string_view text, Base... base) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number, base...);
  if (error != std::errc() || rest != end) return std::nullopt;
  return number;
}

std::optional<Value> realFrom(std::string_view text) {
  text = trimmed(text);
  if (text.starts_with('+')) text.remove_prefix(1);
  const auto real = wholeNumber<double>(text);
  return real ? std::optional<Value>(*real) : std::nullopt;
}

std::optional<Value> integerFrom(std::string_view text) {
  text = trimmed(text);
  if (text.starts_with("0x") || text.starts_with("0X")) {
    const auto bits = wholeNumber<uint64_t>(text.substr(2), 16);
    return bits ? std::optional<Value>(static_cast<int64_t>(*bits)) : std::nullopt;
  }
  if (text.starts_with('+')) text.remove_prefix(1);
  if (const auto integer = wholeNumber<int64_t>(text)) return *integer;
  const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
  if (digits.find_first_not_of("0123456789") != digits.npos) return std::nullopt;
  return realFrom(text);
}

int base64Digit(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  return c == '+' ? 62 : c == '/' ? 63 : -1;
}

// Characters that are no digits, such as line breaks, do not count.
Data dataFrom(std::string_view base64) {
  Data data;
  data.bytes.reserve(base64.size() / 4 * 3 + 3);
  uint32_t bits = 0;
  int place = 0;  // of the digit among its four
  for (const char c : base64) {
    const int digit = base64Digit(c);
    if (digit < 0) continue;
    bits = bits << 6 | static_cast<uint32_t>(digit);
    if (place > 0) data.bytes += static_cast<char>(bits >> (6 - 2 * place) & 0xFF);
    place = (place + 1) % 4;
  }
  return data;
}

}  // namespace

void XmlPropertyListBuilder::begin(const PropertyListKeys* keys) {
  keys_ = keys;
  inPlist_ = false;
  scalar_.reset();
  depth_ = 0;
  skips_ = false;
  root_.reset();
}

std::optional<Value> XmlPropertyListBuilder::takeRoot() {
  return std::exchange(root_, std::nullopt);
}

XmlPropertyListBuilder::Kind XmlPropertyListBuilder::kindNamed(std::string_view name) {
  const auto either = [name](std::string_view expected, Kind kind) {
    return name == expected ? kind : Kind::unknown;
  };
  switch (name.front()) {
    case 'k':
      return either("key", Kind::key);
    case 's':
      return either("string", Kind::string);
    case 'd':
      return name == "dict" ? Kind::dict : name == "data" ? Kind::data : either("date", Kind::date);
    case 'a':
      return either("array", Kind::array);
    case 'i':
      return either("integer", Kind::integer);
    case 'r':
      return either("real", Kind::real);
    case 't':
      return either("true", Kind::yes);
    case 'f':
      return either("false", Kind::no);
    case 'p':
      return either("plist", Kind::plist);
    default:
      return Kind::unknown;
  }
}

bool XmlPropertyListBuilder::startElement(const Name& name, const Attributes&) {
  const Kind kind = name.prefix ? Kind::unknown : kindNamed(name.local);
  if (!mayStart(kind)) return false;
  if (kind == Kind::plist) {
    inPlist_ = true;
  } else if (kind == Kind::dict || kind == Kind::array) {
    open(kind);
  } else {
    scalar_ = kind;
    text_.clear();
    // Of what is skipped only numbers and dates could be wrong.
    collects_ = !skips_ || kind == Kind::integer || kind == Kind::real || kind == Kind::date;
  }
  return true;
}

bool XmlPropertyListBuilder::mayStart(Kind kind) const {
  if (scalar_ || kind == Kind::unknown) return false;
  if (depth_ == 0) {
    if (kind == Kind::plist) return !inPlist_ && !root_;
    return kind != Kind::key && !root_;
  }
  const Container& container = containers_[depth_ - 1];
  if (kind == Kind::plist) return false;
  if (!container.isDictionary) return kind != Kind::key;
  return (kind == Kind::key) != container.hasKey;
}

void XmlPropertyListBuilder::open(Kind kind) {
  if (depth_ == containers_.size()) containers_.emplace_back();
  Container& container = containers_[depth_++];
  container.isDictionary = kind == Kind::dict;
  container.hasKey = false;
  container.size = 0;
  // What a list that was broken off has left.
  container.elements.clear();
  container.entries = DictionaryBuilder();
  if (container.isDictionary && !skips_) {
    container.entries.reserve(std::min<size_t>(container.usualSize, 64));
  }
}

bool XmlPropertyListBuilder::characters(std::string_view text) {
  if (scalar_ && *scalar_ != Kind::yes && *scalar_ != Kind::no) {
    if (collects_) text_.append(text);
    return true;
  }
  return std::all_of(text.begin(), text.end(), isSpace);
}

bool XmlPropertyListBuilder::endElement() {
  if (scalar_) return endScalar();
  if (depth_ > 0) return endContainer();
  return root_.has_value();  // the end of the plist element
}

bool XmlPropertyListBuilder::endScalar() {
  if (scalar_ == Kind::key) return endKey();
  std::optional<Value> value = collects_ ? scalar() : Value(false);
  scalar_.reset();
  return value && add(*std::move(value));
}

bool XmlPropertyListBuilder::endKey() {
  scalar_.reset();
  Container& container = containers_[depth_ - 1];
  container.hasKey = true;
  if (skips_) return true;
  container.key = text_;
  skips_ = keys_ && depth_ == 1 && !isWanted(text_);
  return true;
}

bool XmlPropertyListBuilder::endContainer() {
  Container& container = containers_[depth_ - 1];
  if (container.hasKey) return false;
  --depth_;
  if (skips_) return add(false);
  container.usualSize = container.size;
  if (container.isDictionary) return add(container.entries.build());
  return add(Array(std::exchange(container.elements, {})));
}

std::optional<Value> XmlPropertyListBuilder::scalar() const {
  switch (*scalar_) {
    case Kind::string:
      return Value(text_);
    case Kind::integer:
      return integerFrom(text_);
    case Kind::real:
      return realFrom(text_);
    case Kind::yes:
      return Value(true);
    case Kind::no:
      return Value(false);
    case Kind::data:
      return Value(dataFrom(text_));
    default:
      break;
  }
  const std::optional<Date> date = dateFromPropertyListText(trimmed(text_));
  return date ? std::optional<Value>(*date) : std::nullopt;
}

bool XmlPropertyListBuilder::add(Value value) {
  if (depth_ == 0) {
    root_ = std::move(value);
    return true;
  }
  Container& container = containers_[depth_ - 1];
  container.hasKey = false;
  if (skips_) {
    skips_ = depth_ > 1;
    return true;
  }
  ++container.size;
  if (container.isDictionary) {
    container.entries.set(std::move(container.key), std::move(value));
  } else {
    container.elements.push_back(std::move(value));
  }
  return true;
}

bool XmlPropertyListBuilder::isWanted(std::string_view key) const {
  return std::find(keys_->begin(), keys_->end(), key) != keys_->end();
}

}  // namespace revwarden
