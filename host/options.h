#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/diagnostics.h"
#include "ports/linux/helper/helper_manager.h"

namespace revwarden {

enum class NoticePlace { desktop, socket };

/// The options of the command line, completed with the defaults. All paths are absolute.
struct Options {
  std::string plugin;
  std::string helpers;  // folder of the programs that only the agent starts; no option
  std::vector<std::string> applications;
  std::string service = "127.0.0.1:8484";
  std::string state;
  std::string socket;
  std::optional<std::string> hostApp;  // links resolved if it exists
  std::vector<std::string> volumes;
  Authorization authorization = Authorization::ask;
  std::optional<std::string> tools;
  NoticePlace notices = NoticePlace::desktop;
  std::optional<std::string> eventLog;
  LogLevel logLevel = LogLevel::warning;
};

/// The options; without them the exit status of the program: after help or the version was printed,
/// or an error in the command line.
struct ParsedOptions {
  std::optional<Options> options;
  int exitStatus = 0;
};

ParsedOptions parseOptions(int argc, const char* const* argv);

}  // namespace revwarden
