#include "host/plugin_loader.h"

#include <dlfcn.h>

#include <filesystem>

#include "agent/kqrw_agent.h"
#include "agent/plugin.h"

namespace revwarden {
namespace {

constexpr char kModule[] = "Contents/Linux/Revwarden.so";

}  // namespace

LoadedPlugin loadPlugin(const std::string& bundlePath,
                        const std::shared_ptr<const Platform>& platform, std::string& error) {
  // A path without a slash would be searched for among the system's libraries.
  const std::string module = std::filesystem::absolute(bundlePath) / kModule;
  void* const library = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (!library) {
    error = "cannot load the plug-in: " + std::string(::dlerror());
    return {};
  }
  auto* const factory = reinterpret_cast<PluginFactory*>(::dlsym(library, kPluginFactoryName));
  if (!factory) {
    error = module + " is no Revwarden plug-in";
    return {};
  }
  std::shared_ptr<KQRWAgent> agent;
  const char* version = factory(kPluginABI, REVWARDEN_BUILD_ID, &platform, &agent);
  if (!version || !agent) {
    error = "the plug-in " + bundlePath + " is of another build than this program";
    return {};
  }
  return {std::move(agent), version};
}

}  // namespace revwarden
