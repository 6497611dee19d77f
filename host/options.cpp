#include "host/options.h"

#include <pwd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>

#include "host/installation.h"
#include "protocol/socket_path.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;

constexpr int kUsageError = 2;

// The words of each choice, in the order of its enumeration.
constexpr char kAuthorizations[] = "ask|always|never";
constexpr char kNoticePlaces[] = "desktop|socket";
constexpr char kLogLevels[] = "error|warning|info|debug";

/// Where GNUstep installs applications, by distribution and by its own layouts.
constexpr const char* kGNUstepFolders[] = {
    "/usr/lib/GNUstep/Applications",     "/usr/local/lib/GNUstep/Applications",
    "/usr/GNUstep/System/Applications",  "/usr/GNUstep/Local/Applications",
    "/usr/GNUstep/Network/Applications", "/opt/GNUstep/System/Applications",
    "/opt/GNUstep/Local/Applications"};

fs::path homeFolder() {
  const char* home = std::getenv("HOME");
  if (home && home[0] == '/') return home;
  const passwd* user = ::getpwuid(::geteuid());
  return user && user->pw_dir ? user->pw_dir : "/";
}

std::string fullPath(const std::string& path) {
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error).lexically_normal();
  // A trailing slash is no part of a folder's name.
  return absolute.has_filename() || !absolute.has_relative_path() ? absolute
                                                                  : absolute.parent_path();
}

std::string resolvedPath(const std::string& path) {
  std::error_code error;
  const fs::path resolved = fs::canonical(path, error);
  return error ? path : resolved.string();
}

std::string defaultStateFolder() {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  if (config && config[0] == '/') return fs::path(config) / "revwarden";
  return homeFolder() / ".config/revwarden";
}

std::vector<std::string> defaultApplicationFolders() {
  std::error_code error;
  std::vector<std::string> folders = {"/Applications", homeFolder() / "Applications"};
  const auto addExisting = [&](const fs::path& folder) {
    if (fs::is_directory(folder, error)) folders.push_back(folder);
  };
  for (const char* folder : kGNUstepFolders) addExisting(folder);
  addExisting(homeFolder() / "GNUstep/Applications");
  return folders;
}

/// Why the text is not HOST or HOST:PORT, else empty.
std::string checkService(const std::string& text) {
  const size_t bracket = text.rfind(']');
  const size_t colon = text.find(':', bracket == std::string::npos ? 0 : bracket);
  const std::string host = text.substr(0, colon);
  if (host.empty() || text.find_first_of(" /?#@\\") != std::string::npos) return "not HOST[:PORT]";
  if (colon == std::string::npos) return {};
  const std::string port = text.substr(colon + 1);
  const bool isNumber = !port.empty() && port.size() <= 5 &&
                        port.find_first_not_of("0123456789") == std::string::npos;
  return isNumber && std::stoi(port) >= 1 && std::stoi(port) <= 65535 ? "" : "not a port: " + port;
}

void completePaths(Options& options) {
  if (options.plugin.empty()) options.plugin = ownPluginPath();
  if (options.state.empty()) options.state = defaultStateFolder();
  if (options.socket.empty()) options.socket = defaultSocketPath();
  if (options.applications.empty()) options.applications = defaultApplicationFolders();
  for (auto* path : {&options.plugin, &options.state, &options.socket}) *path = fullPath(*path);
  for (auto& folder : options.applications) folder = fullPath(folder);
  for (auto& folder : options.volumes) folder = fullPath(folder);
  if (options.tools) options.tools = fullPath(*options.tools);
  if (options.hostApp) options.hostApp = resolvedPath(*options.hostApp);
}

std::vector<std::string> split(const std::string& words) {
  std::istringstream in(words);
  std::vector<std::string> parts;
  for (std::string word; std::getline(in, word, '|');) parts.push_back(word);
  return parts;
}

/// An option whose value is one of the words.
template <typename Choice>
void addChoice(CLI::App& app, const char* name, Choice& chosen, const char* words,
               const char* help) {
  const std::vector<std::string> all = split(words);
  const auto choose = [&chosen, all](const std::string& word) {
    chosen = static_cast<Choice>(std::find(all.begin(), all.end(), word) - all.begin());
  };
  app.add_option_function<std::string>(name, choose, help)
      ->type_name(words)
      ->check(CLI::IsMember(all).description(""))
      ->default_str(all[static_cast<size_t>(chosen)]);
}

void addWhatIsLookedAt(CLI::App& app, Options& options) {
  app.add_option("--plugin", options.plugin, "The plug-in bundle to load")->type_name("PATH");
  app.add_option("--applications", options.applications,
                 "A folder searched for application bundles (repeatable; replaces the default)")
      ->type_name("DIR")
      ->expected(1);
  app.add_option("--service", options.service, "The host of the update service")
      ->type_name("HOST[:PORT]")
      ->check(checkService)
      ->capture_default_str();
  app.add_option("--state", options.state, "The folder of the settings")->type_name("DIR");
  app.add_option("--socket", options.socket, "The control socket")->type_name("PATH");
  app.add_option("--host-app", options.hostApp, "The bundle of the host product")
      ->type_name("PATH");
  app.add_option("--volume", options.volumes,
                 "A folder to treat as the root of a separate local volume (repeatable)")
      ->type_name("DIR")
      ->expected(1);
}

void addWhatIsDone(CLI::App& app, Options& options) {
  addChoice(app, "--authorization", options.authorization, kAuthorizations,
            "Who grants administrator rights: ask: the user, through polkit; always: nobody needs "
            "to, the agent's own rights must do; never: they are refused");
  app.add_option("--tools", options.tools,
                 "A folder to look in first for child programs like unzip and hdiutil")
      ->type_name("DIR");
  addChoice(app, "--notices", options.notices, kNoticePlaces,
            "desktop: also as bubbles on the desktop; socket: for socket clients only");
  app.add_option("--event-log", options.eventLog, "Append every event to this file as a JSON line")
      ->type_name("FILE");
  addChoice(app, "--log-level", options.logLevel, kLogLevels, "How much the agent says of itself");
}

}  // namespace

ParsedOptions parseOptions(int argc, const char* const* argv) {
  Options options;
  CLI::App app("Keeps the installed applications up to date.", "revwarden-agent");
  app.set_version_flag("--version", std::string("revwarden-agent ") + REVWARDEN_VERSION);
  addWhatIsLookedAt(app, options);
  addWhatIsDone(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return {std::nullopt, app.exit(error) == 0 ? 0 : kUsageError};
  }
  completePaths(options);
  return {std::move(options), 0};
}

}  // namespace revwarden
