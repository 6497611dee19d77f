#include "ports/linux/desktop/linux_workspace.h"

#include <glib.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <utility>

#include "ports/linux/desktop/file_viewer.h"
#include "ports/linux/processes/process_control.h"
#include "ports/linux/processes/running_applications.h"
#include "ports/posix/spawn.h"

namespace revwarden {
namespace {

constexpr char kOpener[] = "xdg-open";
constexpr std::chrono::seconds kOpenerPatience(2);

/// Returns nullopt for a file on another machine.
std::optional<std::string> pathOfFileURL(const std::string& url) {
  g_autofree char* host = nullptr;
  g_autofree char* path = g_filename_from_uri(url.c_str(), &host, nullptr);
  const bool isHere = !host || g_ascii_strcasecmp(host, "localhost") == 0;
  return path && isHere ? std::optional<std::string>(path) : std::nullopt;
}

/// The argument of xdg-open for an address. Returns nullopt for what it could take for an option.
std::optional<std::string> openable(std::string_view url) {
  const std::string address(url);
  if (address.find('\0') != address.npos) return std::nullopt;
  if (address.starts_with('/')) return address;
  const char* const scheme = g_uri_peek_scheme(address.c_str());
  if (!scheme) return std::nullopt;
  return g_str_equal(scheme, "file") ? pathOfFileURL(address) : address;
}

Result<pid_t> startOpener(std::string_view url) {
  const std::optional<std::string> target = openable(url);
  if (!target) return Error{"", std::string(url) + " is not an address that can be opened"};
  return startInOwnSession({kOpener, *target});
}

bool hasOpened(pid_t opener) {
  const auto deadline = std::chrono::steady_clock::now() + kOpenerPatience;
  if (endsBefore(deadline, openProcess(opener))) return waitForEnd(opener) == 0;
  reapInBackground(opener);
  return true;
}

bool reveal(const std::string& path) {
  if (!path.starts_with('/')) return false;
  if (showInFileViewer(path)) return true;
  const auto opener = startInOwnSession({kOpener, std::filesystem::path(path).parent_path()});
  return opener && hasOpened(*opener);
}

}  // namespace

bool LinuxWorkspace::openURL(std::string_view url) {
  const Result<pid_t> opener = startOpener(url);
  const bool opened = opener && hasOpened(*opener);
  reports_.opened(url, opened);
  return opened;
}

void LinuxWorkspace::openURL_whenOpened(std::string_view url, std::function<void(bool)> opened) {
  const auto report = [told = reports_.opened, address = std::string(url),
                       opened = std::move(opened)](bool isOpened) {
    told(address, isOpened);
    opened(isOpened);
  };
  const Result<pid_t> opener = startOpener(url);
  if (!opener) return report(false);
  if (threads_.detachNewThread([opener, report] { report(hasOpened(*opener)); })) return;
  reapInBackground(*opener);
  report(false);
}

bool LinuxWorkspace::selectFile_inFileViewerRootedAtPath(std::string_view path,
                                                         std::string_view root) {
  const bool selected = reveal(std::string(path));
  reports_.selected(path, root, selected);
  return selected;
}

std::vector<std::string> LinuxWorkspace::launchedApplicationPaths() {
  std::set<std::string> paths;
  for (auto& application : runningApplications()) paths.insert(std::move(application.bundlePath));
  return {paths.begin(), paths.end()};
}

}  // namespace revwarden
