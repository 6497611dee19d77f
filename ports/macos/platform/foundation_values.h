#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/value.h"

// Property-list values as Foundation's objects and back. Nothing is lost on the way: numbers keep
// their kind, booleans are told from numbers, text may hold any character, NUL included. Any
// thread. Objects are new, immutable in depth and autoreleased.
namespace revwarden {

/// Bytes that are no UTF-8 become replacement characters.
NSString* foundationText(std::string_view text);
id foundationValue(const Value& value);
NSArray* foundationArray(const std::vector<Dictionary>& dictionaries);
NSDictionary* foundationDictionary(const Dictionary& dictionary);
NSDate* foundationDate(Date date);

/// Half of a surrogate pair becomes a replacement character. "" for what is no text.
std::string textOf(id text);
/// Absent for what is no text.
std::optional<std::string> optionalTextOf(id text);
/// The texts in an array or a set; what is no text is left out.
std::vector<std::string> textsOf(id collection);

/// Absent for nil and for what is no property list, for one nested deeper than 128 levels and for
/// one of more than 100,000 values. Of arrays and dictionaries what is no property list is left
/// out, and so are keys that are no text. Numbers that 64 bits with a sign cannot hold become
/// reals, as decimal numbers do.
std::optional<Value> valueOf(id object);
/// The same, but what is nested too deep is only left out, and any number of values is taken. Empty
/// for what is no dictionary.
Dictionary dictionaryOf(id object);

}  // namespace revwarden
