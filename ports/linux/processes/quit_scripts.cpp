#include "ports/linux/processes/quit_scripts.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "ports/linux/processes/process_control.h"
#include "ports/linux/processes/running_applications.h"

namespace revwarden {
namespace {

/// Returns NAME of `tell application "NAME" to quit`, nullopt for any other text.
std::optional<std::string> applicationToQuit(std::string_view source) {
  constexpr std::string_view kBefore = "tell application \"", kAfter = "\" to quit";
  if (!source.starts_with(kBefore)) return std::nullopt;
  std::string name;
  for (size_t i = kBefore.size(); i < source.size(); ++i) {
    if (source[i] == '"') {
      return source.substr(i) == kAfter ? std::optional(name) : std::nullopt;
    }
    if (source[i] == '\\' && ++i < source.size() && source[i] != '"' && source[i] != '\\') break;
    if (i < source.size()) name += source[i];
  }
  return std::nullopt;
}

struct Asked {
  FileDescriptor process;
  bool isGone = false;
};

/// Sends SIGTERM, unless the process has ended already and another may have its id.
Asked askToEnd(const RunningApplication& application) {
  Asked asked{openProcess(application.pid)};
  asked.isGone =
      asked.process ? runningApplication(application.pid) != application : errno == ESRCH;
  if (asked.process && !asked.isGone) sendSignal(asked.process, SIGTERM);
  return asked;
}

}  // namespace

Result<> QuitScripts::executeSource(std::string_view source) {
  const std::optional<std::string> name = applicationToQuit(source);
  if (!name) return Error{"", "Cannot execute this script: " + std::string(source)};
  std::vector<Asked> asked;
  for (const RunningApplication& application : runningApplications()) {
    if (application.name != *name || application.pid == getpid()) continue;
    asked.push_back(askToEnd(application));
  }
  const auto deadline = std::chrono::steady_clock::now() + patience_;
  for (const Asked& one : asked) {
    if (!one.isGone && !endsBefore(deadline, one.process)) {
      return Error{"", *name + " is still running"};
    }
  }
  return {};
}

}  // namespace revwarden
