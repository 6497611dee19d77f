#pragma once

#include <string_view>

#include "updater/kqrw_app_updater.h"

namespace revwarden {

/// The update job of the host product: afterwards it offers to relaunch or to launch the product.
class KQRWPellmarkUpdater final : public KQRWAppUpdater {
 public:
  using KQRWAppUpdater::KQRWAppUpdater;

  /// The offer's button.
  void performAction(std::string_view selector) override;

 private:
  void performInstall() override;
  void finishPellmarkUpdate();
  void relaunchPellmark();
  void _relaunchPellmark();
};

}  // namespace revwarden
