#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace revwarden {

class Bundles;

/// How to recognise the new version of an application in the files of its update.
struct SoughtApplication {
  std::optional<std::string> bundleIdentifier;
  std::string name;
};

/// Returns the candidate that is the application: the first one with its bundle identifier, else
/// the last one whose bundle has its name, else the first one whose file has that name and the
/// extension "app". Candidates are full paths. The result may be something else than an application
/// bundle.
std::optional<std::string> newApplicationAmong(Bundles& bundles,
                                               const std::vector<std::string>& candidates,
                                               const SoughtApplication& sought);

/// Returns the first candidate with the extension of an installer package.
std::optional<std::string> packageAmong(const std::vector<std::string>& candidates);

/// Returns true if a path or a link has the extension of an installer package, such as pkg or mpkg.
bool hasPackageExtension(std::string_view path);

}  // namespace revwarden
