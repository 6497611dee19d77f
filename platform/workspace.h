#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace revwarden {

/// The registration of an observer. Destroying it, on the main thread, ends it immediately. It may
/// be destroyed in its own handler, which then continues to its end.
class Observation {
 public:
  virtual ~Observation() = default;
};

/// Reports when the machine wakes from sleep.
class WakeNotifications {
 public:
  virtual ~WakeNotifications() = default;

  /// Calls `handler` on the main thread after every wake until the returned registration is
  /// destroyed. Main thread.
  [[nodiscard]] virtual std::unique_ptr<Observation> observeDidWake(
      std::function<void()> handler) = 0;
};

/// The desktop operations of update jobs.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Opens a URL, or a file by its "file:" URL, in the user's application for it. Returns true if
  /// it was opened. Waits for the result, at most two seconds. Any thread except the main thread.
  virtual bool openURL(std::string_view url) = 0;

  /// Opens a URL in the same way without waiting. Calls `opened` once, on any thread, when the
  /// result is known. Any thread.
  virtual void openURL_whenOpened(std::string_view url, std::function<void(bool)> opened) = 0;

  /// Selects the file in the file viewer, in a window whose root is `root` if the viewer has such
  /// windows. Returns true if the file was shown. Any thread except the main thread.
  virtual bool selectFile_inFileViewerRootedAtPath(std::string_view path,
                                                   std::string_view root) = 0;

  /// Returns the full path of the bundle of each running application ("NSApplicationPath"), with
  /// links resolved if it exists. Any thread.
  virtual std::vector<std::string> launchedApplicationPaths() = 0;
};

/// Runs scripts that control applications. Any thread.
class AppleScripts {
 public:
  virtual ~AppleScripts() = default;

  /// Runs the script and waits until it has ended.
  virtual Result<> executeSource(std::string_view source) = 0;
};

}  // namespace revwarden
