#pragma once

#import <Foundation/Foundation.h>

#include "platform/bundle.h"

namespace revwarden {

/// Opens bundles with Foundation and the shared library. Any thread.
class FoundationBundles final : public Bundles {
 public:
  /// `agentClass` is in the bundle that has the plug-in's resources.
  explicit FoundationBundles(Class agentClass) : agentClass_(agentClass) {}

  std::shared_ptr<const Bundle> threadSafeBundleWithPath(std::string_view path) override;
  /// Does nothing if the system has no function for it.
  void flushBundleCachesForPath(std::string_view path) override;
  std::shared_ptr<const Bundle> threadSafeMainBundle() override;
  std::optional<std::string> pathForPluginResource(std::string_view name) override;

 private:
  const Class agentClass_;
};

}  // namespace revwarden
