#pragma once

#include <functional>

#include "platform/threads.h"
#include "platform/workspace.h"

namespace revwarden {

/// The user's desktop through `xdg-open` in PATH and the file viewer of the session bus. Any
/// thread.
///
/// Opened means that xdg-open ended with status 0, or still ran after two seconds; revealed, that
/// the file viewer shows the file or, without one, that its folder was opened.
class LinuxWorkspace final : public Workspace {
 public:
  /// Called once for every request when its outcome is known, on any thread, before an answer that
  /// tells the outcome. They may outlive the workspace.
  struct Reports {
    std::function<void(std::string_view url, bool opened)> opened;
    std::function<void(std::string_view path, std::string_view root, bool selected)> selected;
  };

  LinuxWorkspace(Threads& threads, Reports reports)
      : threads_(threads), reports_(std::move(reports)) {}

  /// Hands an address to xdg-open as it is, a file: address or a full path as the path.
  bool openURL(std::string_view url) override;
  void openURL_whenOpened(std::string_view url, std::function<void(bool)> opened) override;
  /// No file viewer here has windows rooted at a folder.
  bool selectFile_inFileViewerRootedAtPath(std::string_view path, std::string_view root) override;
  std::vector<std::string> launchedApplicationPaths() override;

 private:
  Threads& threads_;
  const Reports reports_;
};

}  // namespace revwarden
