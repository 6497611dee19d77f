#pragma once

#include "platform/workspace.h"

namespace revwarden {

/// A desktop that only notes what it is to open.
class OpenedAddresses final : public Workspace {
 public:
  bool openURL(std::string_view url) override {
    addresses.emplace_back(url);
    return true;
  }
  void openURL_whenOpened(std::string_view url, std::function<void(bool)> opened) override {
    opened(openURL(url));
  }
  bool selectFile_inFileViewerRootedAtPath(std::string_view, std::string_view) override {
    return true;
  }
  std::vector<std::string> launchedApplicationPaths() override { return {}; }

  std::vector<std::string> addresses;
};

}  // namespace revwarden
