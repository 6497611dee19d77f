#import "ports/macos/platform/foundation_values.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "base/text.h"

namespace revwarden {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";  // U+FEFF
constexpr int kDeepest = 128;
// Bounds the work: an object can be shared, so a small graph can expand to very many values.
constexpr int kMostValues = 100'000;

NSString* stringWithBytes(std::string_view bytes) {
  return [[[NSString alloc] initWithBytes:bytes.data()
                                   length:bytes.size()
                                 encoding:NSUTF8StringEncoding] autorelease];
}

struct ToFoundation {
  id operator()(bool flag) const { return [NSNumber numberWithBool:flag]; }
  id operator()(int64_t number) const { return [NSNumber numberWithLongLong:number]; }
  id operator()(double number) const { return [NSNumber numberWithDouble:number]; }
  id operator()(const std::string& text) const { return foundationText(text); }
  id operator()(Date date) const { return foundationDate(date); }
  id operator()(const Data& data) const {
    return [NSData dataWithBytes:data.bytes.data() length:data.bytes.size()];
  }
  id operator()(const Array& array) const {
    NSMutableArray* const elements = [NSMutableArray arrayWithCapacity:array.size()];
    for (const Value& element : array) [elements addObject:foundationValue(element)];
    return [[elements copy] autorelease];
  }
  id operator()(const Dictionary& dictionary) const { return foundationDictionary(dictionary); }
};

// Foundation has exactly two boolean objects, so identity tells booleans from other numbers.
bool isBoolean(NSNumber* number) {
  return number == [NSNumber numberWithBool:YES] || number == [NSNumber numberWithBool:NO];
}

Value numberOf(NSNumber* number) {
  if (isBoolean(number)) return static_cast<bool>([number boolValue]);
  switch (*[number objCType]) {
    case 'f':
    case 'd':
      return [number doubleValue];
    case 'Q':
    case 'L':
      if ([number unsignedLongLongValue] > INT64_MAX) return [number doubleValue];
      return int64_t{[number longLongValue]};
    default:
      return int64_t{[number longLongValue]};
  }
}

// Converts one object with its contents.
class ValueReader {
 public:
  enum class Limits { refuse, leaveOut };  // refuse the object, or leave out what is too deep

  explicit ValueReader(Limits limits) : refuses_(limits == Limits::refuse) {}

  std::optional<Value> read(id object) {
    std::optional<Value> value = valueOf(object, 0);
    return isRefused_ ? std::nullopt : value;
  }

 private:
  std::optional<Value> valueOf(id object, int depth) {
    isRefused_ = isRefused_ || (refuses_ && (depth > kDeepest || --left_ < 0));
    if (isRefused_ || depth > kDeepest) return std::nullopt;
    if ([object isKindOfClass:[NSString class]]) return textOf(object);
    if ([object isKindOfClass:[NSNumber class]]) return numberOf(object);
    if ([object isKindOfClass:[NSDate class]]) return Date{[object timeIntervalSince1970]};
    if ([object isKindOfClass:[NSData class]]) return dataOf(object);
    if ([object isKindOfClass:[NSArray class]]) return arrayOf(object, depth + 1);
    if ([object isKindOfClass:[NSDictionary class]]) return dictionaryOf(object, depth + 1);
    return std::nullopt;
  }

  static Data dataOf(NSData* data) {
    return {std::string(static_cast<const char*>([data bytes]), [data length])};
  }

  Array arrayOf(NSArray* array, int depth) {
    std::vector<Value> elements;
    NSEnumerator* const objects = [array objectEnumerator];
    while (id object = [objects nextObject]) {
      if (auto value = valueOf(object, depth)) elements.push_back(std::move(*value));
    }
    return Array(std::move(elements));
  }

  Dictionary dictionaryOf(NSDictionary* dictionary, int depth) {
    DictionaryBuilder builder;
    NSEnumerator* const keys = [dictionary keyEnumerator];
    while (id key = [keys nextObject]) {
      if (![key isKindOfClass:[NSString class]]) continue;
      if (auto value = valueOf([dictionary objectForKey:key], depth)) {
        builder.set(textOf(key), std::move(*value));
      }
    }
    return builder.build();
  }

  const bool refuses_;
  int left_ = kMostValues;
  bool isRefused_ = false;
};

// Replaces halves of surrogate pairs. Foundation would drop them; GNUstep refuses the string.
NSString* withoutHalfPairs(NSString* text) {
  std::vector<unichar> units([text length]);
  [text getCharacters:units.data()];
  for (size_t i = 0; i < units.size(); ++i) {
    const unichar next = i + 1 < units.size() ? units[i + 1] : 0;
    const bool isFirst = units[i] >= 0xD800 && units[i] < 0xDC00;
    const bool isSecond = units[i] >= 0xDC00 && units[i] < 0xE000;
    if (isFirst && next >= 0xDC00 && next < 0xE000) {
      ++i;
    } else if (isFirst || isSecond) {
      units[i] = 0xFFFD;
    }
  }
  return [NSString stringWithCharacters:units.data() length:units.size()];
}

}  // namespace

NSString* foundationText(std::string_view text) {
  // At the start of a string, Foundation would drop it as a byte order mark.
  if (text.starts_with(kByteOrderMark)) {
    return [foundationText("-" + std::string(text)) substringFromIndex:1];
  }
  if (NSString* const whole = stringWithBytes(text)) return whole;
  NSMutableString* const repaired = [NSMutableString stringWithCapacity:text.size()];
  while (!text.empty()) {
    const size_t length = utf8SequenceLength(text);
    [repaired appendString:length > 0 ? stringWithBytes(text.substr(0, length)) : @"\uFFFD"];
    text.remove_prefix(std::max<size_t>(1, length));
  }
  return [[repaired copy] autorelease];
}

id foundationValue(const Value& value) {
  return value.visit(ToFoundation());
}

NSArray* foundationArray(const std::vector<Dictionary>& dictionaries) {
  NSMutableArray* const elements = [NSMutableArray arrayWithCapacity:dictionaries.size()];
  for (const Dictionary& dictionary : dictionaries) {
    [elements addObject:foundationDictionary(dictionary)];
  }
  return [[elements copy] autorelease];
}

NSDictionary* foundationDictionary(const Dictionary& dictionary) {
  NSMutableDictionary* const made = [NSMutableDictionary dictionaryWithCapacity:dictionary.size()];
  for (const DictionaryEntry& entry : dictionary) {
    [made setObject:foundationValue(entry.value) forKey:foundationText(entry.key)];
  }
  return [[made copy] autorelease];
}

NSDate* foundationDate(Date date) {
  return [NSDate dateWithTimeIntervalSince1970:date.secondsSince1970];
}

std::string textOf(id text) {
  if (![text isKindOfClass:[NSString class]]) return {};
  NSData* bytes = [text dataUsingEncoding:NSUTF8StringEncoding];
  if (!bytes) bytes = [withoutHalfPairs(text) dataUsingEncoding:NSUTF8StringEncoding];
  return std::string(static_cast<const char*>([bytes bytes]), [bytes length]);
}

std::optional<std::string> optionalTextOf(id text) {
  if (![text isKindOfClass:[NSString class]]) return std::nullopt;
  return textOf(text);
}

std::vector<std::string> textsOf(id collection) {
  std::vector<std::string> texts;
  if (![collection respondsToSelector:@selector(objectEnumerator)]) return texts;
  NSEnumerator* const objects = [collection objectEnumerator];
  while (id object = [objects nextObject]) {
    if ([object isKindOfClass:[NSString class]]) texts.push_back(textOf(object));
  }
  return texts;
}

std::optional<Value> valueOf(id object) {
  return ValueReader(ValueReader::Limits::refuse).read(object);
}

Dictionary dictionaryOf(id object) {
  const std::optional<Value> value = ValueReader(ValueReader::Limits::leaveOut).read(object);
  const Dictionary* const dictionary = value ? value->as<Dictionary>() : nullptr;
  return dictionary ? *dictionary : Dictionary();
}

}  // namespace revwarden
