#include "ports/linux/property_lists/xml_property_list.h"

#include <algorithm>
#include <utility>

#include "ports/linux/property_lists/property_list_scalars.h"

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
    // Of the values that are skipped only numbers and dates can be malformed.
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
  // A list that was refused leaves its contents here.
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
  skips_ = depth_ == 1 && !isWantedKey(text_, keys_);
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
      return integerFromText(trimmed(text_));
    case Kind::real:
      return realFromText(trimmed(text_));
    case Kind::yes:
      return Value(true);
    case Kind::no:
      return Value(false);
    case Kind::data:
      return Value(dataFromBase64(text_));
    default:
      break;
  }
  const std::optional<Date> date = dateFromText(trimmed(text_));
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

}  // namespace revwarden
