#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/value.h"

// Converts property-list values to Foundation objects and back. Nothing is lost: numbers keep their
// type, booleans stay booleans, text may contain any character, including NUL. Any thread. Returned
// objects are new, deeply immutable and autoreleased.
namespace revwarden {

/// Returns the string for UTF-8 text. Invalid bytes become replacement characters.
NSString* foundationText(std::string_view text);
/// These return the Foundation object for a value.
id foundationValue(const Value& value);
NSArray* foundationArray(const std::vector<Dictionary>& dictionaries);
NSDictionary* foundationDictionary(const Dictionary& dictionary);
NSDate* foundationDate(Date date);

/// Returns the UTF-8 text of a string, "" for any other object. Half a surrogate pair becomes a
/// replacement character.
std::string textOf(id text);
/// As `textOf`, but absent for an object that is not a string.
std::optional<std::string> optionalTextOf(id text);
/// Returns the strings in an array or a set; other elements are left out.
std::vector<std::string> textsOf(id collection);

/// Returns the value for a property list. Absent for nil, for any other object, for more than 128
/// levels of nesting and for more than 100,000 values. Elements of arrays and dictionaries that are
/// not property lists are left out, and so are keys that are not strings. Decimal numbers, and
/// integers that do not fit into a signed 64-bit integer, become reals.
std::optional<Value> valueOf(id object);
/// As `valueOf`, but values nested too deep are left out and their number is not limited. Empty for
/// an object that is not a dictionary.
Dictionary dictionaryOf(id object);

}  // namespace revwarden
