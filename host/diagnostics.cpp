#include "host/diagnostics.h"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace revwarden {

void writeErrorLine(std::string_view line) {
  std::string out;
  out.reserve(line.size() + 1);
  for (const char c : line) {
    const auto byte = static_cast<unsigned char>(c);
    char escaped[8];
    if (c == '\n') {
      out += "\\n";
    } else if (byte < 0x20 || byte == 0x7f) {
      std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
      out += escaped;
    } else {
      out += c;
    }
  }
  out += '\n';
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, out.data(), out.size());
}

void Diagnostics::write(LogLevel level, std::string_view text) const {
  static constexpr const char* kNames[] = {"error", "warning", "info", "debug"};
  if (level > level_) return;
  writeErrorLine("revwarden-agent: " + std::string(kNames[static_cast<int>(level)]) + ": " +
                 std::string(text));
}

}  // namespace revwarden
