#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/value.h"

namespace revwarden {

/// What a bundle says of itself in its information property list, read when the bundle was opened.
/// A value that is missing or of a wrong type is absent, and so is an empty identifier. Immutable.
struct Bundle {
  std::optional<std::string> bundleIdentifier;  // CFBundleIdentifier
  std::optional<std::string> bundleName;        // CFBundleName; may be empty
  std::optional<Value> shortVersionString;      // CFBundleShortVersionString: a text or a number
  std::optional<Value> bundleVersion;           // CFBundleVersion: a text or a number
};

/// Opens bundles. Any thread.
class Bundles {
 public:
  virtual ~Bundles() = default;

  /// The bundle at a path, nullptr when there is none or its information cannot be read. May answer
  /// what it read before as long as the file has not changed since.
  virtual std::shared_ptr<const Bundle> threadSafeBundleWithPath(std::string_view path) = 0;

  /// Forgets what the system keeps of the bundle at a path, so that one replaced on disk is read
  /// afresh. Does nothing where the system keeps nothing, or notices changes by itself.
  virtual void flushBundleCachesForPath(std::string_view path) = 0;

  /// The bundle of the running process: the host agent application.
  virtual std::shared_ptr<const Bundle> threadSafeMainBundle() = 0;

  /// The path of a file in the plug-in's own resources; absent when there is none of that name.
  virtual std::optional<std::string> pathForPluginResource(std::string_view name) = 0;
};

}  // namespace revwarden
