#include "host/host_log.h"

#include "base/text.h"
#include "host/diagnostics.h"
#include "host/event_log.h"
#include "host/json_values.h"
#include "protocol/names.h"

namespace revwarden {
namespace {

constexpr size_t kMostBytes = 1 << 20;

/// The text, or as much of it as fits and how much does not. No character is cut in two.
std::string shortened(std::string_view text) {
  if (text.size() <= kMostBytes) return std::string(text);
  size_t kept = kMostBytes;
  const auto continuesCharacter = [&text](size_t at) { return (text[at] & 0xC0) == 0x80; };
  while (kept > kMostBytes - 3 && continuesCharacter(kept)) --kept;
  return std::string(text.substr(0, kept)) + " [" + std::to_string(text.size() - kept) +
         " bytes left out]";
}

}  // namespace

void HostLog::NSLog(std::string_view format, const Arguments& arguments) {
  write("NSLog", format, arguments);
}

void HostLog::KQLog(std::string_view format, const Arguments& arguments) {
  write("KQLog", format, arguments);
}

void HostLog::write(const char* channel, std::string_view format, const Arguments& arguments) {
  const std::string line = shortened(formatted(format, arguments));
  writeErrorLine(std::string(channel) + ": " + line);
  std::vector<std::string> texts;
  for (const auto& argument : arguments) {
    texts.push_back(jsonText(argument ? shortened(*argument) : "(null)"));
  }
  events_.append(events::kLog,
                 jsonList({jsonText(channel), jsonText(line), jsonText(format), jsonList(texts)}));
}

}  // namespace revwarden
