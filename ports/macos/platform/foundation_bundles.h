#pragma once

#import <Foundation/Foundation.h>

#include "platform/bundle.h"

namespace revwarden {

/// Bundles as Foundation and the shared library open them.
class FoundationBundles final : public Bundles {
 public:
  /// The plug-in's resources are in the bundle that contains `agentClass`.
  explicit FoundationBundles(Class agentClass) : agentClass_(agentClass) {}

  std::shared_ptr<const Bundle> threadSafeBundleWithPath(std::string_view path) override;
  /// Where the system has such a cache and lets it be flushed.
  void flushBundleCachesForPath(std::string_view path) override;
  std::shared_ptr<const Bundle> threadSafeMainBundle() override;
  std::optional<std::string> pathForPluginResource(std::string_view name) override;

 private:
  const Class agentClass_;
};

}  // namespace revwarden
