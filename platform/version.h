#pragma once

#include <compare>
#include <memory>
#include <string>

#include "base/value.h"

namespace revwarden {

/// A version of an application. Immutable; any thread.
class KQVersion {
 public:
  virtual ~KQVersion() = default;

  /// `less` when this version is older than `other`, `equivalent` when both are the same version,
  /// though perhaps written differently. A total order.
  virtual std::weak_ordering compare(const KQVersion& other) const = 0;

  /// The version as text; it makes an equivalent version again.
  virtual std::string stringRepresentation() const = 0;
};

/// Makes versions. Any thread.
class Versions {
 public:
  using VersionRef = std::shared_ptr<const KQVersion>;

  virtual ~Versions() = default;

  /// The version that a text or a number stands for; nullptr when `value` is nullptr, of another
  /// type or a text that is no version.
  virtual VersionRef versionWithValue(const Value* value) const = 0;

  /// Of a bundle's short and full version (either may be nullptr) the one that best represents what
  /// is installed; nullptr when neither is usable. The same pair always gives the same choice.
  virtual VersionRef betterVersionOfShort_andFull(const VersionRef& shortVersion,
                                                  const VersionRef& fullVersion) const = 0;
};

}  // namespace revwarden
