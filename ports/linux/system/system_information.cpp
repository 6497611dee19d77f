#include "ports/linux/system/system_information.h"

#include <glib.h>
#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "ports/linux/bundles/application_search.h"

namespace revwarden {
namespace {

std::optional<std::string> firstLineOfFile(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  if (!std::getline(file, line)) return std::nullopt;
  return line;
}

/// Returns true for what makers leave in the firmware instead of a serial number.
bool isPlaceholder(std::string_view serialNumber) {
  constexpr std::array<std::string_view, 11> kPlaceholders = {"NONE",
                                                              "TO BE FILLED BY O.E.M.",
                                                              "DEFAULT STRING",
                                                              "SYSTEM SERIAL NUMBER",
                                                              "UNKNOWN",
                                                              "NOT SPECIFIED",
                                                              "NOT APPLICABLE",
                                                              "NOT AVAILABLE",
                                                              "N/A",
                                                              "INVALID",
                                                              "0123456789"};
  const std::string upper = asciiUpperCase(serialNumber);
  return std::find(kPlaceholders.begin(), kPlaceholders.end(), upper) != kPlaceholders.end() ||
         upper.find_first_not_of("0.-_ ") == std::string::npos;
}

}  // namespace

LinuxSystemInformation::LinuxSystemInformation(std::vector<std::string> searchFolders)
    : LinuxSystemInformation(std::move(searchFolders), Facts()) {}

LinuxSystemInformation::LinuxSystemInformation(std::vector<std::string> searchFolders, Facts facts)
    : searchFolders_(std::move(searchFolders)), facts_(std::move(facts)) {}

std::vector<std::string> LinuxSystemInformation::allApplicationsPaths() {
  return applicationBundlesBelow(searchFolders_);
}

std::optional<std::string> LinuxSystemInformation::computerSerialNumber() const {
  const auto line = firstLineOfFile(facts_.serialNumber);
  if (!line) return std::nullopt;
  const std::string_view serialNumber = trimmingSpacesAndLineBreaks(*line);
  if (isPlaceholder(serialNumber) || !isValidUtf8(serialNumber)) return std::nullopt;
  return std::string(serialNumber);
}

std::string LinuxSystemInformation::systemVersionString() const {
  g_autofree char* name = g_get_os_info(G_OS_INFO_KEY_PRETTY_NAME);
  // "Linux" is what GLib returns without a name; the kernel's version says more.
  if (name && isValidUtf8(name) && *name && !g_str_equal(name, "Linux")) return name;
  utsname kernel{};
  if (uname(&kernel) != 0) return "Linux";
  return std::string(kernel.sysname) + " " + kernel.release;
}

bool LinuxSystemInformation::isPowerPC() const {
  return facts_.machine.rfind("ppc", 0) == 0 || facts_.machine.rfind("powerpc", 0) == 0;
}

bool LinuxSystemInformation::is64BitCapable() const {
  // The only names of 64-bit hardware without "64".
  return facts_.machine.find("64") != std::string::npos || facts_.machine == "s390x" ||
         facts_.machine == "armv8l" || facts_.machine == "alpha";
}

std::string LinuxSystemInformation::unameMachine() {
  utsname kernel{};
  return uname(&kernel) == 0 ? kernel.machine : "";
}

std::string ServiceProductInformation::URLWithScheme_service_path(std::string_view scheme,
                                                                  std::string_view,
                                                                  std::string_view path) const {
  std::string url(scheme);
  url.append("://").append(host_);
  if (path.empty() || path.front() != '/') url += '/';
  return url.append(path);
}

}  // namespace revwarden
