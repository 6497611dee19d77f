#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/value.h"

namespace revwarden {

/// The information property list of a bundle, as it was when the bundle was opened. A value is
/// absent if it is missing or has the wrong type; an empty identifier is absent, too. Immutable.
struct Bundle {
  std::optional<std::string> bundleIdentifier;  // CFBundleIdentifier
  std::optional<std::string> bundleName;        // CFBundleName; may be empty
  std::optional<Value> shortVersionString;      // CFBundleShortVersionString: a string or a number
  std::optional<Value> bundleVersion;           // CFBundleVersion: a string or a number
};

/// Opens bundles. Any thread.
class Bundles {
 public:
  virtual ~Bundles() = default;

  /// Returns the bundle at a full path; nullptr if there is none or its information cannot be read.
  /// May return a cached object as long as the file has not changed.
  virtual std::shared_ptr<const Bundle> threadSafeBundleWithPath(std::string_view path) = 0;

  /// Drops what the system caches about the bundle at a path, so that a bundle that was replaced on
  /// disk is read again. Does nothing if the system has no such cache or detects changes itself.
  virtual void flushBundleCachesForPath(std::string_view path) = 0;

  /// Returns the bundle of the running process, which is the host agent application; nullptr if it
  /// has none.
  virtual std::shared_ptr<const Bundle> threadSafeMainBundle() = 0;

  /// Returns the full path of a file in the resources of the plug-in; absent if there is none with
  /// that name.
  virtual std::optional<std::string> pathForPluginResource(std::string_view name) = 0;
};

}  // namespace revwarden
