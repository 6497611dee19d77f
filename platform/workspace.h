#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace revwarden {

/// An observer's registration; destroying it, on the main thread, ends it at once. It may be
/// destroyed from within its own handler, which then runs to its end.
class Observation {
 public:
  virtual ~Observation() = default;
};

/// Tells when the machine wakes from sleep.
class WakeNotifications {
 public:
  virtual ~WakeNotifications() = default;

  /// Main thread. `handler` runs on the main thread after every wake, until the observation ends.
  [[nodiscard]] virtual std::unique_ptr<Observation> observeDidWake(
      std::function<void()> handler) = 0;
};

/// The user's desktop, as update jobs use it. Any thread; on the main thread nothing waits.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Opens an address, or a file by its file: address, as the user would. Whether it was opened; on
  /// the main thread, whether that was started.
  virtual bool openURL(std::string_view url) = 0;

  /// Shows the file selected in the file viewer, in a window rooted at `root` where the viewer has
  /// such windows. Whether it was shown.
  virtual bool selectFile_inFileViewerRootedAtPath(std::string_view path,
                                                   std::string_view root) = 0;

  /// The full paths of the bundles of the running applications ("NSApplicationPath"), links
  /// resolved when they exist.
  virtual std::vector<std::string> launchedApplicationPaths() = 0;
};

/// Runs scripts that talk to applications. Any thread.
class AppleScripts {
 public:
  virtual ~AppleScripts() = default;

  /// Executes the script and waits for its end. Absent on success, else the error information.
  virtual std::optional<std::string> executeSource(std::string_view source) = 0;
};

}  // namespace revwarden
