#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace revwarden {

class Bundles;

/// What tells the new version of an application apart among the files of its update.
struct SoughtApplication {
  std::optional<std::string> bundleIdentifier;
  std::string name;
};

/// The candidate that is the application sought: the first with its bundle identifier; else the
/// last whose bundle has its name; else the first whose file is called so. Whether it is an
/// application at all is not judged here. Candidates are full paths.
std::optional<std::string> newApplicationAmong(Bundles& bundles,
                                               const std::vector<std::string>& candidates,
                                               const SoughtApplication& sought);

/// The first candidate that is an installer package by its extension.
std::optional<std::string> packageAmong(const std::vector<std::string>& candidates);

/// Whether the extension of a path or of a link names an installer package (pkg, mpkg).
bool hasPackageExtension(std::string_view path);

}  // namespace revwarden
