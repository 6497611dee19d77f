#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace revwarden {

/// The system log and the product's log of outcomes. Any thread; never fails. A line may come in
/// any length and with any bytes; a port may cut it and replace what is not UTF-8.
class Log {
 public:
  using Arguments = std::vector<std::optional<std::string>>;

  virtual ~Log() = default;

  /// Writes `format` with its "%@" filled in (`formatted` in base/text.h; absent reads "(null)") as
  /// one line of the system log.
  virtual void NSLog(std::string_view format, const Arguments& arguments = {}) = 0;

  /// The same for the product's log, which keeps the outcomes of update jobs.
  virtual void KQLog(std::string_view format, const Arguments& arguments = {}) = 0;
};

}  // namespace revwarden
