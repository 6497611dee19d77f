#include "host/options.h"

#include <pwd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>

#include "protocol/socket_path.h"

namespace revwarden {
namespace {

namespace fs = std::filesystem;

constexpr int kUsageError = 2;
constexpr char kPluginName[] = "Revwarden.plugin";

// The values of each choice, in the order of its enumeration.
constexpr char kAuthorizations[] = "ask|always|never";
constexpr char kNoticePlaces[] = "desktop|socket";
constexpr char kLogLevels[] = "error|warning|info|debug";

// Where GNUstep installs applications: in distributions, and in its own layouts.
constexpr const char* kGNUstepFolders[] = {
    "/usr/lib/GNUstep/Applications",     "/usr/local/lib/GNUstep/Applications",
    "/usr/GNUstep/System/Applications",  "/usr/GNUstep/Local/Applications",
    "/usr/GNUstep/Network/Applications", "/opt/GNUstep/System/Applications",
    "/opt/GNUstep/Local/Applications"};

fs::path programFolder() {
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error).parent_path();
}

// The plug-in beside the program, else the installed one.
fs::path defaultPlugin() {
  std::error_code error;
  const fs::path beside = programFolder() / kPluginName;
  return fs::exists(beside, error) ? beside
                                   : programFolder() / REVWARDEN_PLUGIN_FOLDER / kPluginName;
}

fs::path homeFolder() {
  const char* home = std::getenv("HOME");
  if (home && home[0] == '/') return home;
  const passwd* user = ::getpwuid(::geteuid());
  return user && user->pw_dir ? user->pw_dir : "/";
}

std::string fullPath(const std::string& path) {
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error).lexically_normal();
  // Without a trailing slash.
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

// Returns why the text is not HOST or HOST:PORT, or "" if it is.
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
  if (options.plugin.empty()) options.plugin = defaultPlugin();
  if (options.state.empty()) options.state = defaultStateFolder();
  if (options.socket.empty()) options.socket = defaultSocketPath();
  if (options.applications.empty()) options.applications = defaultApplicationFolders();
  options.helpers = programFolder() / "../libexec/revwarden";
  for (auto* path : {&options.plugin, &options.helpers, &options.state, &options.socket}) {
    *path = fullPath(*path);
  }
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

// Adds an option whose value is one of the words.
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

void addPaths(CLI::App& app, Options& options) {
  const auto add = [&app](const char* name, auto& path, const char* help) {
    return app.add_option(name, path, help)->type_name("DIR");
  };
  add("--plugin", options.plugin, "load this plug-in bundle")->type_name("PATH");
  add("--applications", options.applications,
      "search this folder for applications (repeatable; replaces the default folders)")
      ->expected(1);
  add("--state", options.state, "keep the settings in this folder");
  add("--socket", options.socket, "listen on this control socket")->type_name("PATH");
  add("--host-app", options.hostApp, "set the bundle of the host product")->type_name("PATH");
  add("--volume", options.volumes,
      "treat this folder as the root of a separate local volume (repeatable)")
      ->expected(1);
  add("--tools", options.tools, "search this folder first for programs such as unzip and hdiutil");
  add("--event-log", options.eventLog, "append each event to this file as a line of JSON")
      ->type_name("FILE");
}

void addBehaviour(CLI::App& app, Options& options) {
  app.add_option("--service", options.service, "set the address of the update service")
      ->type_name("HOST[:PORT]")
      ->check(checkService)
      ->capture_default_str();
  addChoice(app, "--authorization", options.authorization, kAuthorizations,
            "grant administrator rights: ask the user through polkit, always with the rights of "
            "this process, or never");
  addChoice(app, "--notices", options.notices, kNoticePlaces,
            "show notices on the desktop as well, or only to clients of the socket");
  addChoice(app, "--log-level", options.logLevel, kLogLevels, "set the log verbosity");
}

}  // namespace

ParsedOptions parseOptions(int argc, const char* const* argv) {
  Options options;
  CLI::App app("Keeps the installed applications up to date.", "revwarden-agent");
  app.set_version_flag("--version", std::string("revwarden-agent ") + REVWARDEN_VERSION,
                       "print the version and exit");
  app.get_option("--help")->description("print this help and exit");
  addPaths(app, options);
  addBehaviour(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return {std::nullopt, app.exit(error) == 0 ? 0 : kUsageError};
  }
  completePaths(options);
  return {std::move(options), 0};
}

}  // namespace revwarden
