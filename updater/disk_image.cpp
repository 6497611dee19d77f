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

Result<std::string> attachDiskImage(const Platform& platform,
                                    const std::optional<std::string>& imagePath, ImageShows shows) {
  if (!imagePath) return Error{"", "there is no disk image"};
  ChildProcess tool;
  tool.program = kTool;
  tool.arguments = {"attach", *imagePath, "-plist"};
  if (shows == ImageShows::nowhere) {
    tool.arguments.insert(tool.arguments.end(), {"-nobrowse", "-noautofsck"});
  }
  tool.arguments.emplace_back(shows == ImageShows::opened ? "-autoopen" : "-noautoopen");
  tool.environment.emplace()["PAGER"] = "/usr/bin/true";  // keeps a licence off standard output
  tool.input = "y\n";                                     // accepts the licence
  tool.collectsOutput = tool.collectsErrors = true;
  const std::optional<ChildProcesses::Completion> ran = platform.children.run(tool);
  if (!ran) return Error{"", std::string(kTool) + " cannot be started"};
  // Intentional: ignores the exit status. Only the list of mount points counts.
  const std::optional<Value> list = platform.propertyLists.propertyListFromData(ran->output);
  const std::optional<std::string> mountPoint = list ? firstMountPoint(*list) : std::nullopt;
  if (mountPoint) return *mountPoint;
  return Error{"", ran->errors.empty() ? "no volume was mounted" : ran->errors};
}

void detachDiskImage(const Platform& platform, const std::string& mountPoint) {
  ChildProcess tool;
  tool.program = kTool;
  tool.arguments = {"detach", mountPoint};
  platform.children.run(tool);
}

}  // namespace revwarden
