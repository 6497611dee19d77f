#import "ports/macos/platform/foundation_values.h"

#include <cstdint>
#include <utility>

#include "base/text.h"

namespace revwarden {
namespace {

constexpr int kDeepest = 128;

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

// There are but two booleans.
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

std::optional<Value> valueAtDepth(id object, int depth);

Array arrayAtDepth(NSArray* array, int depth) {
  std::vector<Value> elements;
  elements.reserve([array count]);
  NSEnumerator* const objects = [array objectEnumerator];
  while (id object = [objects nextObject]) {
    if (auto value = valueAtDepth(object, depth)) elements.push_back(std::move(*value));
  }
  return Array(std::move(elements));
}

Dictionary dictionaryAtDepth(NSDictionary* dictionary, int depth) {
  DictionaryBuilder builder;
  builder.reserve([dictionary count]);
  NSEnumerator* const keys = [dictionary keyEnumerator];
  while (id key = [keys nextObject]) {
    if (![key isKindOfClass:[NSString class]]) continue;
    if (auto value = valueAtDepth([dictionary objectForKey:key], depth)) {
      builder.set(textOf(key), std::move(*value));
    }
  }
  return builder.build();
}

std::optional<Value> valueAtDepth(id object, int depth) {
  if (depth > kDeepest) return std::nullopt;
  if ([object isKindOfClass:[NSString class]]) return textOf(object);
  if ([object isKindOfClass:[NSNumber class]]) return numberOf(object);
  if ([object isKindOfClass:[NSDate class]]) return Date{[object timeIntervalSince1970]};
  if ([object isKindOfClass:[NSData class]]) {
    return Data{std::string(static_cast<const char*>([object bytes]), [object length])};
  }
  if ([object isKindOfClass:[NSArray class]]) return arrayAtDepth(object, depth + 1);
  if ([object isKindOfClass:[NSDictionary class]]) return dictionaryAtDepth(object, depth + 1);
  return std::nullopt;
}

}  // namespace

NSString* foundationText(std::string_view text) {
  if (NSString* const whole = stringWithBytes(text)) return whole;
  NSMutableString* const mended = [NSMutableString stringWithCapacity:text.size()];
  while (!text.empty()) {
    size_t length = std::min<size_t>(4, text.size());
    while (length > 0 && !isValidUtf8(text.substr(0, length))) --length;
    NSString* const piece = length > 0 ? stringWithBytes(text.substr(0, length)) : nil;
    [mended appendString:piece ? piece : @"\uFFFD"];
    text.remove_prefix(std::max<size_t>(1, length));
  }
  return mended;
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

std::string textOf(NSString* text) {
  NSData* const bytes = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
  return std::string(static_cast<const char*>([bytes bytes]), [bytes length]);
}

std::optional<std::string> optionalTextOf(NSString* text) {
  if (!text) return std::nullopt;
  return textOf(text);
}

std::vector<std::string> textsOf(id collection) {
  std::vector<std::string> texts;
  NSEnumerator* const objects = [collection objectEnumerator];
  while (id object = [objects nextObject]) {
    if ([object isKindOfClass:[NSString class]]) texts.push_back(textOf(object));
  }
  return texts;
}

std::optional<Value> valueOf(id object) {
  return valueAtDepth(object, 0);
}

Dictionary dictionaryOf(id object) {
  if (![object isKindOfClass:[NSDictionary class]]) return {};
  return dictionaryAtDepth(object, 0);
}

}  // namespace revwarden
