#include "ports/linux/processes/launch_application.h"

#include "ports/linux/bundles/linux_bundles.h"
#include "ports/linux/files/regular_file.h"
#include "ports/linux/processes/processes.h"
#include "ports/linux/property_lists/property_list.h"

namespace revwarden {
namespace {

constexpr std::string_view kExecutable = "CFBundleExecutable";
// A bundle for several systems has programs for others in Contents/MacOS.
constexpr const char* kPrograms[] = {"/Contents/Linux/", "/Contents/MacOS/", "/"};
constexpr size_t kMaxInfoSize = size_t{16} << 20;

std::string informationOf(const std::string& bundlePath) {
  std::string contents;
  FileIdentity identity;
  for (const std::string_view place : kBundleInformationPlaces) {
    const std::string path = bundlePath + std::string(place);
    const FileReading reading = readRegularFile(path.c_str(), kMaxInfoSize, contents, identity);
    if (reading == FileReading::done) return contents;
    if (reading == FileReading::failed) break;
  }
  return "";
}

/// Absent also when it is no name of a file.
std::optional<std::string> executableName(const std::string& bundlePath) {
  const auto entries =
      PropertyListReader().readEntries(informationOf(bundlePath), std::span(&kExecutable, 1));
  const std::string* name = entries ? entries->stringFor(kExecutable) : nullptr;
  if (!name || name->find('/') != name->npos) return std::nullopt;
  return *name;
}

}  // namespace

bool launchApplication(const std::string& bundlePath) {
  const std::optional<std::string> name = executableName(bundlePath);
  if (!name) return false;
  for (const char* folder : kPrograms) {
    const std::string program = bundlePath + folder + *name;
    const pid_t started = startInOwnSession({program});
    if (started < 0) continue;
    reapInBackground(started);
    return true;
  }
  return false;
}

}  // namespace revwarden
