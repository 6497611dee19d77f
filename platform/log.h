#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace revwarden {

/// The system log and the product's log. Never fails. Lines may have any length and contain any
/// bytes; a port may truncate them and replace what is not UTF-8. Any thread.
class Log {
 public:
  using Arguments = std::vector<std::optional<std::string>>;

  virtual ~Log() = default;

  /// Writes one line to the system log: `format` with each "%@" replaced by the next argument
  /// (`formatted` in base/text.h). An absent argument is written as "(null)".
  virtual void NSLog(std::string_view format, const Arguments& arguments = {}) = 0;

  /// Writes such a line to the product's log, which has the results of update jobs.
  virtual void KQLog(std::string_view format, const Arguments& arguments = {}) = 0;
};

}  // namespace revwarden
