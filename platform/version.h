#pragma once

#include <compare>
#include <memory>
#include <string>

#include "base/value.h"

namespace revwarden {

/// The version of an application. Immutable. Any thread.
class KQVersion {
 public:
  virtual ~KQVersion() = default;

  /// Returns `less` if this version is older than `other`, `equivalent` if both are the same
  /// version, even if written differently. The order is total.
  virtual std::weak_ordering compare(const KQVersion& other) const = 0;

  /// Returns the version as text. The text parses to an equivalent version.
  virtual std::string stringRepresentation() const = 0;
};

/// Creates versions. Any thread.
class Versions {
 public:
  using VersionRef = std::shared_ptr<const KQVersion>;

  virtual ~Versions() = default;

  /// Returns the version that a string or a number represents; nullptr if `value` is nullptr, has
  /// another type or is not a version.
  virtual VersionRef versionWithValue(const Value* value) const = 0;

  /// Returns the short or the full version of a bundle, whichever identifies the installed version
  /// better. Either may be nullptr; returns nullptr if both are. The same pair always gives the
  /// same result.
  virtual VersionRef betterVersionOfShort_andFull(const VersionRef& shortVersion,
                                                  const VersionRef& fullVersion) const = 0;
};

}  // namespace revwarden
