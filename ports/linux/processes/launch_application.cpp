#include "ports/linux/processes/launch_application.h"

#include "ports/linux/bundles/bundle_information.h"
#include "ports/linux/processes/process_control.h"
#include "ports/linux/property_lists/property_list.h"

namespace revwarden {
namespace {

constexpr std::string_view kExecutable = "CFBundleExecutable";
// In order: a bundle for several systems has programs for another one in Contents/MacOS.
constexpr const char* kPrograms[] = {"/Contents/Linux/", "/Contents/MacOS/", "/"};

/// Returns nullopt also for a name that leads to another folder.
std::optional<std::string> executableName(const std::string& bundlePath) {
  std::string information;
  if (!readInformationFile(bundlePath, information)) return std::nullopt;
  const auto entries = PropertyListReader().readEntries(information, std::span(&kExecutable, 1));
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
    const Result<pid_t> started = startInOwnSession({program});
    if (!started) continue;
    reapInBackground(*started);
    return true;
  }
  return false;
}

}  // namespace revwarden
