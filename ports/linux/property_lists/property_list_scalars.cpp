#include "ports/linux/property_lists/property_list_scalars.h"

#include <glib.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <utility>

#include "base/text.h"

namespace revwarden {
namespace {

using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
constexpr std::string_view kGNUstepForm = "0000-00-00 00:00:00 +0000";
constexpr double kSecondsPerDay = 86400;
constexpr double kFirst = -62135596800.0;  // 0001-01-01T00:00:00Z
constexpr double kLast = 253402300799.0;   // 9999-12-31T23:59:59Z

template <typename Number, typename... Base>
std::optional<Number> wholeNumber(std::string_view text, Base... base) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number, base...);
  if (error != std::errc() || rest != end) return std::nullopt;
  return number;
}

// In a form, "0" stands for a digit and "+" for a sign.
bool hasForm(std::string_view text, std::string_view form) {
  if (text.size() != form.size()) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool fits = form[i] == '0'   ? text[i] >= '0' && text[i] <= '9'
                      : form[i] == '+' ? text[i] == '+' || text[i] == '-'
                                       : text[i] == form[i];
    if (!fits) return false;
  }
  return true;
}

unsigned number(std::string_view digits) {
  unsigned value = 0;
  for (const char digit : digits) value = value * 10 + static_cast<unsigned>(digit - '0');
  return value;
}

void appendNumber(std::string& out, unsigned value, unsigned highestPlace, char end) {
  for (unsigned place = highestPlace; place > 0; place /= 10) {
    out += static_cast<char>('0' + value / place % 10);
  }
  out += end;
}

}  // namespace

bool appendUtf16(std::string& out, std::u16string_view units) {
  for (size_t i = 0; i < units.size(); ++i) {
    char32_t character = units[i];
    if ((character & 0xF800) == 0xD800) {
      const char32_t low = i + 1 < units.size() ? units[i + 1] : 0;
      if ((character & 0xFC00) != 0xD800 || (low & 0xFC00) != 0xDC00) return false;
      character = 0x10000 + ((character & 0x3FF) << 10) + (low & 0x3FF);
      ++i;
    }
    appendUtf8(out, character);
  }
  return true;
}

std::optional<Value> integerFromText(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    const auto bits = wholeNumber<uint64_t>(text.substr(2), 16);
    return bits ? std::optional<Value>(static_cast<int64_t>(*bits)) : std::nullopt;
  }
  if (text.starts_with('+')) text.remove_prefix(1);
  if (const auto integer = wholeNumber<int64_t>(text)) return *integer;
  const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
  if (digits.find_first_not_of("0123456789") != digits.npos) return std::nullopt;
  return realFromText(text);
}

std::optional<Value> realFromText(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  const auto real = wholeNumber<double>(text);
  return real ? std::optional<Value>(*real) : std::nullopt;
}

std::optional<Date> dateFromText(std::string_view text) {
  const bool isGNUstep = hasForm(text, kGNUstepForm);
  if (!isGNUstep && !hasForm(text, kForm)) return std::nullopt;
  const year_month_day day{std::chrono::year(static_cast<int>(number(text.substr(0, 4)))),
                           std::chrono::month(number(text.substr(5, 2))),
                           std::chrono::day(number(text.substr(8, 2)))};
  const unsigned hour = number(text.substr(11, 2));
  const unsigned minute = number(text.substr(14, 2));
  const unsigned second = number(text.substr(17, 2));
  if (!day.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  double offset = 0;
  if (isGNUstep) {
    offset = number(text.substr(21, 2)) * 3600.0 + number(text.substr(23, 2)) * 60.0;
    if (text[20] == '-') offset = -offset;
  }
  const auto days = static_cast<double>(sys_days(day).time_since_epoch().count());
  return Date{days * kSecondsPerDay + hour * 3600.0 + minute * 60.0 + second - offset};
}

void appendDate(std::string& out, Date date) {
  double seconds = std::floor(date.secondsSince1970);
  if (!(seconds >= kFirst)) seconds = kFirst;  // also if it is not a number
  if (seconds > kLast) seconds = kLast;
  const double days = std::floor(seconds / kSecondsPerDay);
  const auto rest = static_cast<unsigned>(seconds - days * kSecondsPerDay);
  const year_month_day day{sys_days(std::chrono::days(static_cast<int>(days)))};
  appendNumber(out, static_cast<unsigned>(static_cast<int>(day.year())), 1000, '-');
  appendNumber(out, static_cast<unsigned>(day.month()), 10, '-');
  appendNumber(out, static_cast<unsigned>(day.day()), 10, 'T');
  appendNumber(out, rest / 3600, 10, ':');
  appendNumber(out, rest / 60 % 60, 10, ':');
  appendNumber(out, rest % 60, 10, 'Z');
}

Data dataFromBase64(std::string_view base64) {
  base64 = base64.substr(0, base64.find('='));
  std::string bytes(base64.size() / 4 * 3 + 6, '\0');
  auto* const out = reinterpret_cast<guchar*>(bytes.data());
  gint state = 0;
  guint bits = 0;
  const gsize size = g_base64_decode_step(base64.data(), base64.size(), out, &state, &bits);
  // Completes the last group of four digits; without one it adds nothing.
  bytes.resize(size + g_base64_decode_step("==", 2, out + size, &state, &bits));
  return Data{std::move(bytes)};
}

void appendBase64(std::string& out, std::string_view bytes) {
  gchar* const base64 =
      g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size());
  out += base64;
  g_free(base64);
}

}  // namespace revwarden
