#include "ports/linux/processes/running_applications.h"

#include <fcntl.h>
#include <glib.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "base/text.h"
#include "ports/linux/files/package_names.h"
#include "ports/linux/files/regular_file.h"
#include "ports/posix/file_descriptor.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;

constexpr size_t kArgumentsRead = size_t{16} << 10;  // a few paths of any length
constexpr size_t kDescriptionRead = size_t{64} << 10;
constexpr size_t kFirstLineRead = 256;  // the kernel looks no further either

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
  char target[PATH_MAX];
  const ssize_t length = readlink((process + "/exe").c_str(), target, sizeof target);
  std::string path(target, length > 0 ? static_cast<size_t>(length) : 0);
  if (path.ends_with(kRemoved)) path.resize(path.size() - kRemoved.size());
  return path;
}

/// The first ones, as far as they are whole.
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

std::optional<std::string> originOfTrashed(const fs::path& bundle) {
  const fs::path files = bundle.parent_path();
  const fs::path trash = files.parent_path();
  if (files.filename() != "files") return std::nullopt;
  const fs::path description = trash / "info" / (bundle.filename().string() + ".trashinfo");
  std::string text;
  FileIdentity identity;
  g_autoptr(GKeyFile) facts = g_key_file_new();
  if (readRegularFile(description.c_str(), kDescriptionRead, text, identity) != FileReading::done ||
      !g_key_file_load_from_data(facts, text.data(), text.size(), G_KEY_FILE_NONE, nullptr)) {
    return std::nullopt;
  }
  g_autofree char* escaped = g_key_file_get_value(facts, "Trash Info", "Path", nullptr);
  g_autofree char* origin = g_uri_unescape_string(escaped, nullptr);
  if (!origin) return std::nullopt;
  // A path that is not full begins at the volume's top, which holds .Trash-UID or .Trash/UID.
  const fs::path above = trash.parent_path();
  return (above.filename() == ".Trash" ? above.parent_path() : above) / origin;
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
  std::error_code error;
  for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename();
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
