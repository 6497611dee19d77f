#include "ports/linux/processes/running_applications.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "base/text.h"
#include "ports/linux/files/package_names.h"
#include "ports/linux/files/trash_entry.h"
#include "ports/posix/directory.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;

constexpr size_t kArgumentsRead = size_t{16} << 10;  // a few paths of any length
constexpr size_t kFirstLineRead = 256;               // as much as the kernel reads

struct PlaceInBundle {
  std::string bundle;
  std::string inside;
};

std::optional<PlaceInBundle> placeInBundle(std::string_view path) {
  if (!path.starts_with('/')) return std::nullopt;
  for (size_t end = path.find('/', 1); end != path.npos; end = path.find('/', end + 1)) {
    const std::string_view folder = path.substr(0, end);
    if (isApplicationName(folder)) {
      return PlaceInBundle{std::string(folder), std::string(path.substr(end + 1))};
    }
  }
  return std::nullopt;
}

std::string programOf(const std::string& process) {
  constexpr std::string_view kRemoved = " (deleted)";
  std::string path = linkText(AT_FDCWD, (process + "/exe").c_str()).value_or("");
  if (path.ends_with(kRemoved)) path.resize(path.size() - kRemoved.size());
  return path;
}

/// The first arguments, as many as fit into `kArgumentsRead` bytes.
std::vector<std::string> argumentsOf(const std::string& process) {
  std::string text(kArgumentsRead, '\0');
  std::ifstream in(process + "/cmdline", std::ios::binary);
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<size_t>(in.gcount()));
  std::vector<std::string> arguments;
  for (size_t begin = 0, end; (end = text.find('\0', begin)) != text.npos; begin = end + 1) {
    arguments.push_back(text.substr(begin, end - begin));
  }
  return arguments;
}

std::string bundleAtStart(const PlaceInBundle& now, const std::vector<std::string>& arguments) {
  const auto named = arguments.empty() ? std::nullopt : placeInBundle(arguments.front());
  if (named && named->inside == now.inside) return named->bundle;
  return originOfTrashed(now.bundle).value_or(now.bundle);
}

std::string firstLineOf(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat facts;
  if (!file || fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode)) return "";
  char start[kFirstLineRead];
  const ssize_t length = read(file.get(), start, sizeof start);
  const std::string_view text(start, length > 0 ? static_cast<size_t>(length) : 0);
  return std::string(text.substr(0, text.find('\n')));
}

bool isInterpretedBy(const std::string& script, std::string_view interpreter) {
  const std::string line = firstLineOf(script);
  if (!line.starts_with("#!")) return false;
  for (size_t begin = 2, end = 0; end != line.npos; begin = end + 1) {
    end = line.find_first_of(" \t", begin);
    if (std::string_view(line).substr(begin, end - begin) == interpreter) return true;
  }
  return false;
}

std::optional<std::string> bundleOfScript(const std::vector<std::string>& arguments) {
  if (arguments.empty() || arguments.front().empty()) return std::nullopt;
  const auto script = std::find_if(arguments.begin() + 1, arguments.end(),
                                   [](const auto& argument) { return !argument.starts_with('-'); });
  if (script == arguments.end()) return std::nullopt;
  const auto place = placeInBundle(*script);
  if (!place || !isInterpretedBy(*script, arguments.front())) return std::nullopt;
  return place->bundle;
}

bool isOwn(const std::string& process) {
  struct stat facts;
  return stat(process.c_str(), &facts) == 0 && facts.st_uid == geteuid();
}

}  // namespace

std::vector<RunningApplication> runningApplications() {
  std::vector<RunningApplication> running;
  for (const std::string& name : entryNames("/proc")) {
    pid_t pid = 0;
    if (std::from_chars(name.data(), name.data() + name.size(), pid).ec != std::errc()) continue;
    if (auto application = runningApplication(pid)) running.push_back(*std::move(application));
  }
  return running;
}

std::optional<RunningApplication> runningApplication(pid_t pid) {
  const std::string process = "/proc/" + std::to_string(pid);
  if (!isOwn(process)) return std::nullopt;
  const std::vector<std::string> arguments = argumentsOf(process);
  std::optional<std::string> bundle = bundleOfScript(arguments);
  const auto program = placeInBundle(programOf(process));
  if (!bundle && program) bundle = bundleAtStart(*program, arguments);
  if (!bundle) return std::nullopt;
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(*bundle, error);
  return RunningApplication{
      .pid = pid,
      .bundlePath = error ? *bundle : resolved.string(),
      .name = std::string(deletingPathExtension(lastPathComponent(*bundle))),
  };
}

}  // namespace revwarden
