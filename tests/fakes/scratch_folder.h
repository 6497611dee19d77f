#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace revwarden {

/// A private folder of its own, removed at the end; no link leads to it.
class ScratchFolder {
 public:
  explicit ScratchFolder(
      const std::filesystem::path& above = std::filesystem::temp_directory_path())
      : path_(std::filesystem::canonical(above) / "revwarden-XXXXXX") {
    if (!mkdtemp(path_.data())) std::abort();
  }
  ~ScratchFolder() { std::filesystem::remove_all(path_); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

  /// With the folders above the file.
  void write(const std::string& name, const std::string& contents) const {
    std::filesystem::create_directories(std::filesystem::path(file(name)).parent_path());
    std::ofstream(file(name), std::ios::binary) << contents;
  }
  std::string read(const std::string& name) const {
    std::ifstream in(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  std::string path_;
};

}  // namespace revwarden
