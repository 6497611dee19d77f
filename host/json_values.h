#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/value.h"

// Property-list values as the JSON text that clients of the socket and the event log read.
//
// Texts are put together from texts, so that a catalogue of any size is never held as a tree
// besides. All are compact, in one line and valid UTF-8 (stray bytes are replaced).
namespace revwarden {

/// The absent value.
inline constexpr char kJsonNull[] = "null";

/// A value as JSON: dates in RFC 3339 (`rfc3339`), data in base64, everything else as itself.
std::string jsonText(const Value& value);

/// The same for a value that may be absent, which is null.
template <typename T>
std::string jsonTextOrNull(const std::optional<T>& value) {
  return value ? jsonText(*value) : kJsonNull;
}

/// A JSON list of elements that are JSON already.
std::string jsonList(const std::vector<std::string>& elements);

/// A JSON object with these members, in this order; each value is JSON already.
struct JsonMember {
  const char* key;
  std::string value;
};
std::string jsonObject(const std::vector<JsonMember>& members);

/// A JSON list of records.
std::string jsonList(const std::vector<Dictionary>& records);

/// A date in RFC 3339, in UTC, with as many digits of its fraction as tell it from every other
/// date. What lies outside the years 0 to 9999 reads as the nearest moment inside.
std::string rfc3339(Date date);

/// A moment in RFC 3339, in UTC, with milliseconds.
std::string rfc3339Milliseconds(std::chrono::system_clock::time_point moment);

}  // namespace revwarden
