#pragma once

#include <chrono>

#include "platform/workspace.h"

namespace revwarden {

/// Executes one kind of script, `tell application "NAME" to quit`, in which a backslash escapes a
/// quotation mark or a backslash of the name.
///
/// Sends SIGTERM to this user's processes of the application whose bundle folder has exactly that
/// name, except the calling process, and waits for their end. It is no error if none runs. Any
/// thread.
class QuitScripts final : public AppleScripts {
 public:
  /// `patience` is how long to wait for the processes before an error.
  explicit QuitScripts(std::chrono::milliseconds patience = std::chrono::seconds(15))
      : patience_(patience) {}

  Result<> executeSource(std::string_view source) override;

 private:
  const std::chrono::milliseconds patience_;
};

}  // namespace revwarden
