#pragma once

#include <memory>
#include <string>

#include "base/result.h"

namespace revwarden {

class KQRWAgent;
struct Platform;

struct LoadedPlugin {
  std::shared_ptr<KQRWAgent> agent;
  std::string version;
};

/// Loads the plug-in from its bundle and creates its principal object, which starts to work at
/// once. The plug-in is never unloaded. Main thread.
Result<LoadedPlugin> loadPlugin(const std::string& bundlePath,
                                const std::shared_ptr<const Platform>& platform);

}  // namespace revwarden
