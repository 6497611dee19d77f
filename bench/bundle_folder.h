#pragma once

#include <string>
#include <vector>

namespace revwarden::bench {

/// A folder with generated application bundles, removed with this object. Each Info.plist resembles
/// that of a shipped application: some kilobytes with document types and keys that the agent does
/// not read. Every fourth one is binary.
class BundleFolder {
 public:
  /// Creates `count` bundles. Throws std::runtime_error if it cannot create the folder.
  explicit BundleFolder(size_t count);
  ~BundleFolder();
  BundleFolder(const BundleFolder&) = delete;
  BundleFolder& operator=(const BundleFolder&) = delete;

  /// The folder, and the full path of each bundle in it.
  const std::string& path() const { return path_; }
  const std::vector<std::string>& bundles() const { return bundles_; }

 private:
  std::string path_;
  std::vector<std::string> bundles_;
};

}  // namespace revwarden::bench
