#pragma once

#include <functional>

#include "platform/threads.h"
#include "platform/workspace.h"

namespace revwarden {

/// The user's desktop, by `xdg-open` in PATH and the file viewer of the session bus. Any thread.
///
/// An address counts as opened if xdg-open ends with status 0 or still runs after two seconds. A
/// file counts as shown if the file viewer shows it or, without a file viewer, if its folder was
/// opened.
class LinuxWorkspace final : public Workspace {
 public:
  /// Called once for every request when its result is known, before the result is returned. Any
  /// thread. They must stay valid after the end of the workspace.
  struct Reports {
    std::function<void(std::string_view url, bool opened)> opened;
    std::function<void(std::string_view path, std::string_view root, bool selected)> selected;
  };

  LinuxWorkspace(Threads& threads, Reports reports)
      : threads_(threads), reports_(std::move(reports)) {}

  /// Passes an address to xdg-open as it is; for a file: address or a full path, the path.
  bool openURL(std::string_view url) override;
  void openURL_whenOpened(std::string_view url, std::function<void(bool)> opened) override;
  /// `root` is ignored: no file viewer on Linux has windows rooted at a folder.
  bool selectFile_inFileViewerRootedAtPath(std::string_view path, std::string_view root) override;
  std::vector<std::string> launchedApplicationPaths() override;

 private:
  Threads& threads_;
  const Reports reports_;
};

}  // namespace revwarden
