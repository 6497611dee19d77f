#include "ports/linux/files/user_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <vector>

namespace revwarden {
namespace {

std::optional<std::string> fullPathIn(const char* variable) {
  const char* const value = getenv(variable);
  if (!value || *value != '/') return std::nullopt;
  return value;
}

std::string homeInUserDatabase() {
  std::vector<char> texts(16 * 1024);
  passwd entry;
  passwd* found = nullptr;
  getpwuid_r(geteuid(), &entry, texts.data(), texts.size(), &found);
  return found ? found->pw_dir : "/";
}

}  // namespace

std::string homeFolder() {
  const std::optional<std::string> named = fullPathIn("HOME");
  return named ? *named : homeInUserDatabase();
}

std::string dataFolder() {
  const std::optional<std::string> named = fullPathIn("XDG_DATA_HOME");
  return named ? *named : homeFolder() + "/.local/share";
}

}  // namespace revwarden
