#pragma once

#include <memory>
#include <string>

namespace revwarden {

class KQRWAgent;
struct Platform;

struct LoadedPlugin {
  std::shared_ptr<KQRWAgent> agent;
  std::string version;
};

/// Loads the plug-in from its bundle, for good, and creates its principal object, which starts to
/// work at once. Without an agent, `error` says why, for people. Main thread.
LoadedPlugin loadPlugin(const std::string& bundlePath,
                        const std::shared_ptr<const Platform>& platform, std::string& error);

}  // namespace revwarden
