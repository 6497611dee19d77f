#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/value.h"

// How property lists write texts, numbers, dates and data. Independent of locale and time zone. Any
// thread.
namespace revwarden {

/// Appends UTF-16 as UTF-8. Returns false if half of a surrogate pair stands alone.
bool appendUtf16(std::string& out, std::u16string_view units);

/// An integer in decimal digits with or without a sign, or the 64 bits after "0x". What does not
/// fit into 64 bits with sign becomes a real.
std::optional<Value> integerFromText(std::string_view text);
std::optional<Value> realFromText(std::string_view text);

/// A date as in "2026-02-14T09:30:00Z", or with a space and an offset from UTC as GNUstep writes
/// it, "2026-02-14 10:30:00 +0100".
std::optional<Date> dateFromText(std::string_view text);
/// Appends the first of these forms. A fraction is cut off toward the past, and the date is brought
/// into the years 1 to 9999.
void appendDate(std::string& out, Date date);

/// Ignores characters that are not base64 digits, such as line breaks, and missing padding.
Data dataFromBase64(std::string_view base64);
void appendBase64(std::string& out, std::string_view bytes);

}  // namespace revwarden
