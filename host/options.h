#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/diagnostics.h"
#include "ports/linux/helper/helper_manager.h"

namespace revwarden {

enum class NoticePlace { desktop, socket };

/// What the command line asks for, completed with the defaults. Paths are full ones.
struct Options {
  std::string plugin;
  std::vector<std::string> applications;
  std::string service = "127.0.0.1:8484";
  std::string state;
  std::string socket;
  std::optional<std::string> hostApp;  // links resolved when it exists
  std::vector<std::string> volumes;
  Authorization authorization = Authorization::ask;
  std::optional<std::string> tools;
  NoticePlace notices = NoticePlace::desktop;
  std::optional<std::string> eventLog;
  LogLevel logLevel = LogLevel::warning;
};

/// The options, or the status to end with when the command line asked for help or the version,
/// which were printed then, or could not be understood, which was said.
struct ParsedOptions {
  std::optional<Options> options;
  int exitStatus = 0;
};

ParsedOptions parseOptions(int argc, const char* const* argv);

}  // namespace revwarden
