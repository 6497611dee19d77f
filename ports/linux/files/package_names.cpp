#include "ports/linux/files/package_names.h"

#include <glib.h>

#include <algorithm>
#include <iterator>

#include "base/text.h"

namespace revwarden {
namespace {

constexpr std::string_view kPackageExtensions[] = {
    "app",       "appex",    "bundle",     "component",   "dext",  "framework",
    "ideplugin", "kext",     "mailbundle", "mdimporter",  "mpkg",  "osax",
    "pkg",       "plugin",   "prefpane",   "qlgenerator", "saver", "vst3",
    "wdgt",      "workflow", "xctest",     "xpc"};

bool equalInAnyCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && g_ascii_strncasecmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

bool isApplicationName(std::string_view name) {
  return equalInAnyCase(pathExtension(name), "app");
}

bool isPackageName(std::string_view name) {
  const std::string_view extension = pathExtension(name);
  return !extension.empty() &&
         std::any_of(std::begin(kPackageExtensions), std::end(kPackageExtensions),
                     [&](std::string_view known) { return equalInAnyCase(extension, known); });
}

bool isPathInPackage(std::string_view path) {
  for (size_t end = path.rfind('/'); end != path.npos && end > 0; end = path.rfind('/', end - 1)) {
    if (isPackageName(path.substr(0, end))) return true;
  }
  return false;
}

}  // namespace revwarden
