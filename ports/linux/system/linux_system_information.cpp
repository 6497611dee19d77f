#include "ports/linux/system/linux_system_information.h"

#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "ports/linux/bundles/application_search.h"

namespace revwarden {

namespace {

/// Without white space at both ends, line breaks included.
std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kWhite = " \t\r\n\v\f";
  const size_t first = text.find_first_not_of(kWhite);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhite) - first + 1);
}

std::optional<std::string> firstLineOfFile(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  if (!std::getline(file, line)) return std::nullopt;
  return line;
}

/// What makers leave in the firmware when they give no serial number, in upper case.
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

/// A value as the shell reads it: quotes removed, backslashes taken outside of single quotes.
std::string unquoted(std::string_view written) {
  std::string text;
  char quote = 0;
  for (size_t i = 0; i < written.size(); ++i) {
    const char c = written[i];
    if (c == '\\' && quote != '\'' && i + 1 < written.size()) {
      const char next = written[++i];
      if (quote == '"' && std::string_view("\"$`\\").find(next) == std::string_view::npos) {
        text += c;
      }
      text += next;
    } else if (quote == 0 ? (c == '"' || c == '\'') : c == quote) {
      quote = quote ? 0 : c;
    } else {
      text += c;
    }
  }
  return text;
}

/// The last assignment to PRETTY_NAME counts, as in a shell.
std::optional<std::string> prettyNameInFile(const std::string& path) {
  constexpr std::string_view kKey = "PRETTY_NAME=";
  std::ifstream file(path);
  std::optional<std::string> name;
  for (std::string line; std::getline(file, line);) {
    const std::string_view assignment = trimmed(line);
    if (assignment.substr(0, kKey.size()) != kKey) continue;
    name = unquoted(assignment.substr(kKey.size()));
  }
  if (!name || name->empty() || !isValidUtf8(*name)) return std::nullopt;
  return name;
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
  const std::string_view serialNumber = trimmed(*line);
  if (isPlaceholder(serialNumber) || !isValidUtf8(serialNumber)) return std::nullopt;
  return std::string(serialNumber);
}

std::string LinuxSystemInformation::systemVersionString() const {
  for (const std::string& path : facts_.systemReleases) {
    if (!std::ifstream(path)) continue;
    if (const auto name = prettyNameInFile(path)) return *name;
    break;  // the first file that exists speaks for the system
  }
  utsname kernel{};
  if (uname(&kernel) != 0) return "Linux";
  return std::string(kernel.sysname) + " " + kernel.release;
}

bool LinuxSystemInformation::isPowerPC() const {
  return facts_.machine.rfind("ppc", 0) == 0 || facts_.machine.rfind("powerpc", 0) == 0;
}

bool LinuxSystemInformation::is64BitCapable() const {
  // Of the names of 64-bit hardware only these do without the number.
  return facts_.machine.find("64") != std::string::npos || facts_.machine == "s390x" ||
         facts_.machine == "armv8l" || facts_.machine == "alpha";
}

std::string LinuxSystemInformation::unameMachine() {
  utsname kernel{};
  return uname(&kernel) == 0 ? kernel.machine : "";
}

}  // namespace revwarden
