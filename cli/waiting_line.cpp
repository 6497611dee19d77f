#include "cli/waiting_line.h"

#include <unistd.h>

#include <cstdio>

namespace revwarden {

WaitingLine::WaitingLine() : visible_(isatty(STDERR_FILENO)) {}

void WaitingLine::show(const std::string& text) {
  constexpr char kWheel[] = "|/-\\";
  if (!visible_) return;
  const std::string line = text + " " + kWheel[turn_++ % 4] + " ";
  std::fputs(("\r" + line).c_str(), stderr);
  width_ = line.size();
}

void WaitingLine::clear() {
  if (width_ > 0) std::fputs(("\r" + std::string(width_, ' ') + "\r").c_str(), stderr);
  width_ = 0;
}

}  // namespace revwarden
