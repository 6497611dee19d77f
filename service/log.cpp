#include "service/log.h"

#include <cstdio>

#include "base/text.h"

namespace revwarden {

void logLine(std::string_view text) {
  const std::string line = escaped(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace revwarden
