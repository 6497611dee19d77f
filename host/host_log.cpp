#include "host/host_log.h"

#include "base/text.h"
#include "host/diagnostics.h"
#include "host/event_log.h"
#include "host/json_values.h"

namespace revwarden {

void HostLog::NSLog(std::string_view format, const Arguments& arguments) {
  write("NSLog", format, arguments);
}

void HostLog::KQLog(std::string_view format, const Arguments& arguments) {
  write("KQLog", format, arguments);
}

void HostLog::write(const char* channel, std::string_view format, const Arguments& arguments) {
  const std::string line = formatted(format, arguments);
  writeErrorLine(std::string(channel) + ": " + line);
  std::vector<std::string> texts;
  for (const auto& argument : arguments) texts.push_back(jsonText(argument.value_or("(null)")));
  events_.append("log",
                 jsonList({jsonText(channel), jsonText(line), jsonText(format), jsonList(texts)}));
}

}  // namespace revwarden
