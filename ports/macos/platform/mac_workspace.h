#pragma once

#include "platform/workspace.h"

namespace revwarden {

/// The shared workspace. Its notification centre reports wakes.
class MacWorkspace final : public Workspace, public WakeNotifications {
 public:
  bool openURL(std::string_view url) override;
  void openURL_whenOpened(std::string_view url, std::function<void(bool)> opened) override;
  bool selectFile_inFileViewerRootedAtPath(std::string_view path, std::string_view root) override;
  std::vector<std::string> launchedApplicationPaths() override;

  [[nodiscard]] std::unique_ptr<Observation> observeDidWake(std::function<void()> handler) override;
};

/// Runs AppleScript. Any thread.
class MacScripts final : public AppleScripts {
 public:
  Result<> executeSource(std::string_view source) override;
};

}  // namespace revwarden
