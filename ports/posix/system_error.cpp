#include "ports/posix/system_error.h"

#include <sys/statvfs.h>

#include <cstdio>
#include <system_error>

namespace revwarden {
namespace {

std::string sizeText(int64_t bytes) {
  const char* unit = "kB";
  double amount = static_cast<double>(bytes) / 1e3;
  for (const char* const larger : {"MB", "GB", "TB"}) {
    if (amount < 1000) break;
    amount /= 1000;
    unit = larger;
  }
  char text[32];
  std::snprintf(text, sizeof text, amount < 10 ? "%.1f %s" : "%.0f %s", amount, unit);
  return text;
}

}  // namespace

Error systemError(int number) {
  const bool isFull = number == ENOSPC || number == EDQUOT || number == EFBIG;
  return {isFull ? kNoSpace : "", std::generic_category().message(number)};
}

Error systemError(std::string_view path, int number) {
  return atPath(path, systemError(number));
}

Error atPath(std::string_view path, Error cause) {
  cause.message.insert(0, ": ").insert(0, path);
  return cause;
}

Error withSpace(Error error, int folder, int64_t needed) {
  struct statvfs facts;
  if (error.code != kNoSpace || ::fstatvfs(folder, &facts) != 0) return error;
  const auto free = static_cast<int64_t>(facts.f_bavail * facts.f_frsize);
  if (needed > free) {
    error.message += " (needs " + sizeText(needed) + ", " + sizeText(free) + " free)";
  }
  return error;
}

}  // namespace revwarden
