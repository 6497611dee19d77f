#include "host/json_values.h"

#include <glib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <nlohmann/json.hpp>
#include <type_traits>

namespace revwarden {
namespace {

using nlohmann::json;

constexpr double kFirstSecond = -62167219200.0;  // 0000-01-01T00:00:00Z
constexpr double kLastSecond = 253402300799.0;   // 9999-12-31T23:59:59Z
constexpr int kMostFractionDigits = 9;

void append(std::string& out, const Value& value);

void appendScalar(std::string& out, const json& value) {
  out += value.dump(-1, ' ', false, json::error_handler_t::replace);
}

void appendBase64(std::string& out, const std::string& bytes) {
  char* text = g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size());
  (out += '"').append(text) += '"';
  g_free(text);
}

void appendArray(std::string& out, const Array& array) {
  out += '[';
  for (const Value& element : array) {
    if (&element != array.begin()) out += ',';
    append(out, element);
  }
  out += ']';
}

void appendDictionary(std::string& out, const Dictionary& dictionary) {
  out += '{';
  for (const DictionaryEntry& entry : dictionary) {
    if (&entry != dictionary.begin()) out += ',';
    appendScalar(out, entry.key);
    out += ':';
    append(out, entry.value);
  }
  out += '}';
}

void append(std::string& out, const Value& value) {
  value.visit([&out](const auto& held) {
    using T = std::decay_t<decltype(held)>;
    if constexpr (std::is_same_v<T, Array>) {
      appendArray(out, held);
    } else if constexpr (std::is_same_v<T, Dictionary>) {
      appendDictionary(out, held);
    } else if constexpr (std::is_same_v<T, Date>) {
      (out += '"').append(rfc3339(held)) += '"';
    } else if constexpr (std::is_same_v<T, Data>) {
      appendBase64(out, held.bytes);
    } else {
      appendScalar(out, json(held));
    }
  });
}

std::string wholeSeconds(double seconds) {
  const time_t time = static_cast<time_t>(seconds);
  struct tm parts {};
  ::gmtime_r(&time, &parts);
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", (parts.tm_year + 1900) % 10000,
                parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
  return text;
}

// The point and the digits after it; empty for a whole second.
std::string fraction(double seconds, double whole) {
  if (seconds == whole) return {};
  char text[kMostFractionDigits + 8];
  for (int digits = 1; digits <= kMostFractionDigits; ++digits) {
    std::snprintf(text, sizeof text, "%.*f", digits, seconds - whole);
    if (text[0] == '0' && whole + std::strtod(text, nullptr) == seconds) break;
  }
  return text[0] == '0' ? text + 1 : ".999999999";
}

}  // namespace

std::string jsonText(const Value& value) {
  std::string out;
  append(out, value);
  return out;
}

std::string jsonList(const std::vector<std::string>& elements) {
  std::string out = "[";
  for (const std::string& element : elements) {
    if (out.size() > 1) out += ',';
    out += element;
  }
  return out += ']';
}

std::string jsonObject(const std::vector<JsonMember>& members) {
  std::string out = "{";
  for (const JsonMember& member : members) {
    if (out.size() > 1) out += ',';
    out.append("\"").append(member.key).append("\":").append(member.value);
  }
  return out += '}';
}

std::string jsonList(const std::vector<Dictionary>& records) {
  std::string out = "[";
  for (const Dictionary& record : records) {
    if (out.size() > 1) out += ',';
    appendDictionary(out, record);
  }
  return out += ']';
}

std::string rfc3339(Date date) {
  double seconds = std::isnan(date.secondsSince1970) ? 0 : date.secondsSince1970;
  seconds = std::clamp(seconds, kFirstSecond, kLastSecond);
  const double whole = std::floor(seconds);
  return wholeSeconds(whole) + fraction(seconds, whole) + "Z";
}

std::string rfc3339Milliseconds(std::chrono::system_clock::time_point moment) {
  using namespace std::chrono;
  const auto elapsed = floor<milliseconds>(moment.time_since_epoch());
  const auto whole = floor<seconds>(elapsed);
  char text[8];
  std::snprintf(text, sizeof text, ".%03dZ", static_cast<int>((elapsed - whole).count()));
  return wholeSeconds(static_cast<double>(whole.count())) + text;
}

}  // namespace revwarden
