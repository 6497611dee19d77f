#pragma once

#include <string_view>

namespace revwarden {

/// Writes one line to standard error with a single system call. Control characters are escaped, so
/// a text with line breaks stays one line. Any thread; errors are ignored.
void writeErrorLine(std::string_view line);

enum class LogLevel { error, warning, info, debug };

/// Messages of the host on standard error, down to a level. Immutable; any thread.
class Diagnostics {
 public:
  explicit Diagnostics(LogLevel level) : level_(level) {}

  void error(std::string_view text) const { write(LogLevel::error, text); }
  void warning(std::string_view text) const { write(LogLevel::warning, text); }
  void info(std::string_view text) const { write(LogLevel::info, text); }
  void debug(std::string_view text) const { write(LogLevel::debug, text); }

 private:
  void write(LogLevel level, std::string_view text) const;

  const LogLevel level_;
};

}  // namespace revwarden
