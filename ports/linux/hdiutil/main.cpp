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

int fail(const std::string& why) {
  std::fprintf(stderr, "hdiutil: %s\n", why.c_str());
  return 1;
}

int refuseUsage() {
  std::fputs(kUsage, stderr);
  return 1;
}

// All that can be said of an attachment is its mount points. Opening one is the caller's business,
// which has a desktop; no folder shows here that could be kept from browsing, and no volume needs a
// check.
bool areUnderstood(std::span<const std::string_view> options) {
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
  const Attachment attachment = attachImage(std::string(image));
  if (attachment.error) return fail(*attachment.error);
  std::vector<Value> entities;
  for (const std::string& mountPoint : attachment.mountPoints) {
    entities.emplace_back(Dictionary{{"mount-point", mountPoint}});
  }
  const std::string list =
      writeXmlPropertyList(Dictionary{{"system-entities", Array(std::move(entities))}});
  const bool isTold = std::fputs(list.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
  return isTold ? 0 : fail("The answer cannot be written");
}

int detach(std::string_view mountPoint) {
  const std::optional<std::string> error = detachVolume(mountPoint);
  return error ? fail(*error) : 0;
}

int run(std::span<const std::string_view> arguments) {
  if (arguments.size() >= 2 && arguments[0] == "attach" && areUnderstood(arguments.subspan(2))) {
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
