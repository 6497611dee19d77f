#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

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

/// The user's desktop, as update jobs use it.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Opens an address, or a file by its file: address, as the user would. Returns true if it was
  /// opened. Waits for that, at most two seconds; any thread but the main thread.
  virtual bool openURL(std::string_view url) = 0;

  /// The same without waiting. `opened` is called once, on any thread, when the outcome is known.
  /// Any thread.
  virtual void openURL_whenOpened(std::string_view url, std::function<void(bool)> opened) = 0;

  /// Shows the file selected in the file viewer, in a window rooted at `root` if the viewer has
  /// such windows. Returns true if it was shown. Any thread but the main thread.
  virtual bool selectFile_inFileViewerRootedAtPath(std::string_view path,
                                                   std::string_view root) = 0;

  /// The full paths of the bundles of the running applications ("NSApplicationPath"), links
  /// resolved when they exist. Any thread.
  virtual std::vector<std::string> launchedApplicationPaths() = 0;
};

/// Runs scripts that talk to applications. Any thread.
class AppleScripts {
 public:
  virtual ~AppleScripts() = default;

  /// Executes the script and waits for its end.
  virtual Result<> executeSource(std::string_view source) = 0;
};

}  // namespace revwarden
