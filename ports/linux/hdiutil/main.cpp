// hdiutil: the disk-image tool that update jobs run. Attaches a disk image by unpacking its volumes
// into read-only folders, and detaches it by removing them.

#include <cstdio>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "base/value.h"
#include "ports/linux/hdiutil/attached_images.h"
#include "ports/linux/property_lists/property_list.h"

namespace revwarden {
namespace {

constexpr const char* kUsage =
    "usage: hdiutil attach IMAGE -plist [-nobrowse] [-noautofsck] [-autoopen | -noautoopen]\n"
    "       hdiutil detach MOUNTPOINT\n";

int fail(const Error& error) {
  std::fprintf(stderr, "hdiutil: %s\n", error.message.c_str());
  return 1;
}

int refuseUsage() {
  std::fputs(kUsage, stderr);
  return 1;
}

// "-plist" is required, the other options change nothing: the caller opens mount points on its
// desktop, no file viewer lists volumes, and none needs a check.
bool areSupported(std::span<const std::string_view> options) {
  bool asPropertyList = false;
  for (const std::string_view option : options) {
    if (option == "-plist") {
      asPropertyList = true;
    } else if (option != "-nobrowse" && option != "-noautofsck" && option != "-autoopen" &&
               option != "-noautoopen") {
      return false;
    }
  }
  return asPropertyList;
}

int attach(std::string_view image) {
  const Result<std::vector<std::string>> mountPoints = attachImage(std::string(image));
  if (!mountPoints) return fail(mountPoints.error());
  std::vector<Value> entities;
  for (const std::string& mountPoint : *mountPoints) {
    entities.emplace_back(Dictionary{{"mount-point", mountPoint}});
  }
  const std::string list =
      writeXmlPropertyList(Dictionary{{"system-entities", Array(std::move(entities))}});
  const bool isWritten = std::fputs(list.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
  return isWritten ? 0 : fail({"", "cannot write the property list"});
}

int detach(std::string_view mountPoint) {
  const Result<> detached = detachVolume(mountPoint);
  return detached ? 0 : fail(detached.error());
}

int run(std::span<const std::string_view> arguments) {
  if (arguments.size() >= 2 && arguments[0] == "attach" && areSupported(arguments.subspan(2))) {
    return attach(arguments[1]);
  }
  if (arguments.size() == 2 && arguments[0] == "detach") return detach(arguments[1]);
  return refuseUsage();
}

}  // namespace
}  // namespace revwarden

int main(int argc, char** argv) {
  const std::vector<std::string_view> arguments(argv + 1, argv + argc);
  return revwarden::run(arguments);
}
