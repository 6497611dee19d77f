#include "updater/disk_image.h"

#include <utility>

#include "base/disk_image_list.h"
#include "base/value.h"
#include "platform/child_process.h"
#include "platform/platform.h"
#include "platform/property_list.h"

namespace revwarden {
namespace {

constexpr char kTool[] = "/usr/bin/hdiutil";

}  // namespace

std::optional<std::string> attachDiskImage(const Platform& platform,
                                           const std::optional<std::string>& imagePath,
                                           ImageShows shows) {
  if (!imagePath) return std::nullopt;
  ChildProcess tool;
  tool.program = kTool;
  tool.arguments = {"attach", *imagePath, "-plist"};
  if (shows == ImageShows::nowhere) {
    tool.arguments.insert(tool.arguments.end(), {"-nobrowse", "-noautofsck"});
  }
  tool.arguments.emplace_back(shows == ImageShows::opened ? "-autoopen" : "-noautoopen");
  tool.environment.emplace()["PAGER"] = "/usr/bin/true";  // or a licence would be paged
  tool.input = "y\n";                                     // which is then agreed to
  tool.collectsOutput = true;
  const std::optional<ChildProcesses::Completion> result = platform.children.run(tool);
  if (!result) return std::nullopt;
  // The status says less than the list: an image can be attached in part.
  const std::optional<Value> list = platform.propertyLists.propertyListFromData(result->output);
  return list ? firstMountPoint(*list) : std::nullopt;
}

void detachDiskImage(const Platform& platform, const std::string& mountPoint) {
  ChildProcess tool;
  tool.program = kTool;
  tool.arguments = {"detach", mountPoint};
  platform.children.run(tool);
}

}  // namespace revwarden
