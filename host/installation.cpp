#include "host/installation.h"

#include <filesystem>
#include <system_error>

namespace revwarden {
namespace {

namespace fs = std::filesystem;

constexpr char kBundleName[] = "Revwarden.plugin";

fs::path programFolder() {
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error).parent_path();
}

}  // namespace

std::string ownPluginPath() {
  std::error_code error;
  const fs::path beside = programFolder() / kBundleName;
  if (fs::exists(beside, error)) return beside;
  return (programFolder() / REVWARDEN_PLUGIN_FOLDER / kBundleName).lexically_normal();
}

std::string ownToolsFolder() {
  return (programFolder() / "../libexec/revwarden").lexically_normal();
}

}  // namespace revwarden
