#include "ports/linux/processes/linux_child_processes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/disk_image_list.h"
#include "base/text.h"
#include "ports/linux/files/escaping_links.h"
#include "ports/linux/property_lists/property_list.h"

namespace revwarden {
namespace {

constexpr std::string_view kDiskImageTool = "hdiutil";

bool isProgram(const std::string& path) {
  struct stat facts;
  return stat(path.c_str(), &facts) == 0 && S_ISREG(facts.st_mode) &&
         access(path.c_str(), X_OK) == 0;
}

bool attachesAndOpens(const ChildProcess& child) {
  return lastPathComponent(child.program) == kDiskImageTool &&
         std::ranges::find(child.arguments, "-autoopen") != child.arguments.end();
}

// Unzip writes nothing through links in its own archive, but it follows those that an earlier
// archive left in the folder.
bool mayUnpack(const ChildProcess& child) {
  if (lastPathComponent(child.program) != "unzip") return true;
  const auto option = std::ranges::find(child.arguments, "-d");
  return option == child.arguments.end() || option + 1 == child.arguments.end() ||
         removeEscapingLinks(option[1]).ok();
}

}  // namespace

LinuxChildProcesses::LinuxChildProcesses(Places places, Workspace& workspace)
    : places_(std::move(places)), workspace_(workspace) {}

std::optional<ChildProcesses::Completion> LinuxChildProcesses::run(const ChildProcess& child) {
  if (!mayUnpack(child)) return std::nullopt;
  std::optional<Completion> result = children_.run(resolved(child.program), child);
  if (result && attachesAndOpens(child)) openMountPoint(result->output);
  return result;
}

std::string LinuxChildProcesses::resolved(const std::string& program) const {
  const std::string name(lastPathComponent(program));
  if (places_.tools && isProgram(*places_.tools + "/" + name)) return *places_.tools + "/" + name;
  const std::string own = places_.ownTools + "/" + name;
  return name == kDiskImageTool && isProgram(own) ? own : program;
}

void LinuxChildProcesses::openMountPoint(const std::string& propertyList) {
  const std::optional<Value> list = readPropertyList(propertyList);
  const std::optional<std::string> mountPoint = list ? firstMountPoint(*list) : std::nullopt;
  if (mountPoint) workspace_.openURL(fileURLWithPath(*mountPoint));
}

}  // namespace revwarden
