#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/value.h"

// Property-list values as the JSON text that clients of the socket and the event log read.
//
// The text is built without a tree of JSON values, to save memory for large catalogues. It is
// compact, on one line and valid UTF-8 (invalid bytes are replaced).
namespace revwarden {

/// The absent value.
inline constexpr char kJsonNull[] = "null";

/// A value as JSON: dates in RFC 3339 (`rfc3339`), data in base64, other types as they are.
std::string jsonText(const Value& value);

/// The same for a value that may be absent, which is null.
template <typename T>
std::string jsonTextOrNull(const std::optional<T>& value) {
  return value ? jsonText(*value) : kJsonNull;
}

/// A JSON array of elements that are JSON already.
std::string jsonList(const std::vector<std::string>& elements);

/// A JSON object with these members, in this order; each value is JSON already.
struct JsonMember {
  const char* key;
  std::string value;
};
std::string jsonObject(const std::vector<JsonMember>& members);

/// A JSON array of records.
std::string jsonList(const std::vector<Dictionary>& records);

/// A date in RFC 3339, in UTC, with as many digits of its fraction as distinguish it from every
/// other date. A date outside the years 0 to 9999 becomes the nearest one inside.
std::string rfc3339(Date date);

/// A time in RFC 3339, in UTC, with milliseconds.
std::string rfc3339Milliseconds(std::chrono::system_clock::time_point moment);

}  // namespace revwarden
