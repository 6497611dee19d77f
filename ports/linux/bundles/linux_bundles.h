#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/bundle.h"
#include "ports/linux/bundles/bundle_information.h"

namespace revwarden {

/// Bundles as folders with an information property list.
///
/// Caches what was read of a bundle until its information file changes, which one system call
/// finds out. Bundles that nobody asks for any more leave the cache after a while.
class LinuxBundles : public Bundles {
 public:
  /// `mainVersion` is the short version string of the main bundle. The plug-in's resources are in
  /// "Contents/Resources" of `pluginPath`.
  LinuxBundles(std::optional<std::string> mainVersion, std::optional<std::string> pluginPath);
  ~LinuxBundles() override;

  std::shared_ptr<const Bundle> threadSafeBundleWithPath(std::string_view path) override;
  /// Does nothing: a changed file is read again anyway.
  void flushBundleCachesForPath(std::string_view) override {}
  std::shared_ptr<const Bundle> threadSafeMainBundle() override { return mainBundle_; }
  std::optional<std::string> pathForPluginResource(std::string_view name) override;

 private:
  using BundleRef = std::shared_ptr<const Bundle>;
  struct Reader;

  struct Entry {
    BundleRef bundle;  // null: the file is not an information property list
    InformationFile file;
    bool isSettled = false;
    uint64_t lastUse = 0;
  };
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view path) const { return std::hash<std::string_view>()(path); }
  };

  std::optional<Entry> entryFor(std::string_view path);
  BundleRef readBundle(std::string_view path);
  void keep(std::string_view path, Entry entry);
  void forget(std::string_view path);
  void dropUnused();
  std::unique_ptr<Reader> takeReader();
  void giveBack(std::unique_ptr<Reader> reader);

  const BundleRef mainBundle_;
  const std::optional<std::string> pluginPath_;

  std::mutex mutex_;  // guards all below
  std::unordered_map<std::string, Entry, Hash, std::equal_to<>> entries_;
  uint64_t uses_ = 0;
  size_t cleaningSize_;
  std::vector<std::unique_ptr<Reader>> idleReaders_;
};

}  // namespace revwarden
