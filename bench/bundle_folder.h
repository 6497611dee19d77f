#pragma once

#include <string>
#include <vector>

namespace revwarden::bench {

/// A folder of `count` application bundles made for measuring, removed with this object. Their
/// Info.plists look like those of shipped applications: some kilobytes of document types and keys
/// that nobody here asks for, every fourth in the binary form.
class BundleFolder {
 public:
  explicit BundleFolder(size_t count);
  ~BundleFolder();
  BundleFolder(const BundleFolder&) = delete;
  BundleFolder& operator=(const BundleFolder&) = delete;

  const std::string& path() const { return path_; }
  const std::vector<std::string>& bundles() const { return bundles_; }

 private:
  std::string path_;
  std::vector<std::string> bundles_;
};

}  // namespace revwarden::bench
