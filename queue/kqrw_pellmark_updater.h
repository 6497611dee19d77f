#pragma once

#include <string_view>

#include "updater/kqrw_app_updater.h"

namespace revwarden {

/// The update job of the host product. After the installation it shows a notice that offers to
/// relaunch or to launch the product.
class KQRWPellmarkUpdater final : public KQRWAppUpdater {
 public:
  using KQRWAppUpdater::KQRWAppUpdater;

  /// Performs "relaunchPellmark", the action of the notice. Returns without waiting. Main thread.
  void performAction(std::string_view selector) override;

 private:
  void performInstall() override;
  void finishPellmarkUpdate();
  void relaunchPellmark();
  void _relaunchPellmark();
};

}  // namespace revwarden
