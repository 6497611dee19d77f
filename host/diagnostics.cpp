#include "host/diagnostics.h"

#include <unistd.h>

#include <string>

#include "base/text.h"

namespace revwarden {

void writeErrorLine(std::string_view line) {
  const std::string out = escaped(line) + '\n';
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, out.data(), out.size());
}

void Diagnostics::write(LogLevel level, std::string_view text) const {
  static constexpr const char* kNames[] = {"error", "warning", "info", "debug"};
  if (level > level_) return;
  writeErrorLine("revwarden-agent: " + std::string(kNames[static_cast<int>(level)]) + ": " +
                 std::string(text));
}

}  // namespace revwarden
