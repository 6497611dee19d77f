#pragma once

#include "platform/version.h"

namespace revwarden {

/// The shared library's versions.
class SharedVersions final : public Versions {
 public:
  VersionRef versionWithValue(const Value* value) const override;
  VersionRef betterVersionOfShort_andFull(const VersionRef& shortVersion,
                                          const VersionRef& fullVersion) const override;
};

}  // namespace revwarden
