#pragma once

#include <chrono>

#include "platform/workspace.h"

namespace revwarden {

/// Understands one script, `tell application "NAME" to quit`, where a backslash stands before a
/// quotation mark or a backslash of the name.
///
/// This user's processes of the application whose bundle's folder has that very name, never the
/// calling process, are asked to end (SIGTERM) and waited for. That none runs is no error. Any
/// thread.
class QuitScripts final : public AppleScripts {
 public:
  /// `patience`: how long the applications have to end before they count as still running.
  explicit QuitScripts(std::chrono::milliseconds patience = std::chrono::seconds(15))
      : patience_(patience) {}

  Result<> executeSource(std::string_view source) override;

 private:
  const std::chrono::milliseconds patience_;
};

}  // namespace revwarden
