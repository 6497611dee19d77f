#include "ports/linux/property_lists/property_list_date.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>

namespace revwarden {
namespace {

using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
constexpr double kSecondsPerDay = 86400;
constexpr double kFirst = -62135596800.0;  // 0001-01-01T00:00:00Z
constexpr double kLast = 253402300799.0;   // 9999-12-31T23:59:59Z

bool hasForm(std::string_view text) {
  if (text.size() != kForm.size()) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool fits = kForm[i] == '0' ? text[i] >= '0' && text[i] <= '9' : text[i] == kForm[i];
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

std::optional<Date> dateFromPropertyListText(std::string_view text) {
  if (!hasForm(text)) return std::nullopt;
  const year_month_day day{std::chrono::year(static_cast<int>(number(text.substr(0, 4)))),
                           std::chrono::month(number(text.substr(5, 2))),
                           std::chrono::day(number(text.substr(8, 2)))};
  const unsigned hour = number(text.substr(11, 2));
  const unsigned minute = number(text.substr(14, 2));
  const unsigned second = number(text.substr(17, 2));
  if (!day.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  const auto days = static_cast<double>(sys_days(day).time_since_epoch().count());
  return Date{days * kSecondsPerDay + hour * 3600.0 + minute * 60.0 + second};
}

void appendPropertyListDate(std::string& out, Date date) {
  double seconds = std::floor(date.secondsSince1970);
  if (!(seconds >= kFirst)) seconds = kFirst;  // also when it is no number
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

}  // namespace revwarden
