#include "host/plugin_loader.h"

#include <dlfcn.h>

#include <filesystem>

#include "agent/kqrw_agent.h"
#include "agent/plugin.h"

namespace revwarden {
namespace {

constexpr char kModule[] = "Contents/Linux/Revwarden.so";

}  // namespace

Result<LoadedPlugin> loadPlugin(const std::string& bundlePath,
                                const std::shared_ptr<const Platform>& platform) {
  // dlopen would search the system's libraries for a path without a slash.
  const std::string module = std::filesystem::absolute(bundlePath) / kModule;
  void* const library = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (!library) return Error{"", std::string("cannot load the plug-in: ") + ::dlerror()};
  auto* const factory = reinterpret_cast<PluginFactory*>(::dlsym(library, kPluginFactoryName));
  if (!factory) return Error{"", module + " is no Revwarden plug-in"};
  LoadedPlugin plugin;
  const char* version = factory(kPluginABI, REVWARDEN_BUILD_ID, &platform, &plugin.agent);
  if (!version || !plugin.agent) {
    return Error{"", "the plug-in " + bundlePath + " is of another build than this program"};
  }
  plugin.version = version;
  return plugin;
}

}  // namespace revwarden
