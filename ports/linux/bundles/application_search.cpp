#include "ports/linux/bundles/application_search.h"

#include <dirent.h>
#include <limits.h>
#include <sys/stat.h>

#include <cstdlib>
#include <set>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "ports/linux/files/package_names.h"
#include "ports/posix/directory.h"
#include "ports/posix/file_identity.h"

namespace revwarden {
namespace {

bool leadsToFolder(int folder, const char* link) {
  struct stat facts;
  return fstatat(folder, link, &facts, 0) == 0 && S_ISDIR(facts.st_mode);
}

class Search {
 public:
  void addFolder(std::string path) { waiting_.push_back(std::move(path)); }

  std::vector<std::string> run() && {
    while (!waiting_.empty()) {
      const std::string path = std::move(waiting_.back());
      waiting_.pop_back();
      const FileDescriptor folder = openDirectory(path);
      if (folder && isNew(folder.get())) searchFolder(folder.get(), path);
    }
    return std::move(bundles_);
  }

 private:
  bool isNew(int folder) {
    struct stat facts;
    return fstat(folder, &facts) == 0 && seen_.emplace(facts).second;
  }

  void searchFolder(int folder, const std::string& path) {
    const std::string prefix = path.ends_with('/') ? path : path + '/';
    forEachEntry(folder, [&](const char* name, unsigned char type) {
      const bool isLink = type == DT_LNK;
      if ((type == DT_DIR || isLink) && isValidUtf8(name) &&
          (!isLink || leadsToFolder(folder, name))) {
        add(prefix + name, name, isLink);
      }
      return true;
    });
  }

  void add(std::string path, std::string_view name, bool isLink) {
    if (isApplicationName(name)) {
      bundles_.push_back(std::move(path));
    } else if (isLink) {
      addTarget(std::move(path));
    } else if (!isPackageName(name)) {
      addFolder(std::move(path));
    }
  }

  // Judged by the name of the folder that the link leads to, not by its own.
  void addTarget(std::string link) {
    char target[PATH_MAX];
    if (!realpath(link.c_str(), target)) return;
    if (isPathInPackage(target)) return;
    if (isApplicationName(target)) {
      bundles_.push_back(std::move(link));
    } else if (!isPackageName(target)) {
      addFolder(std::move(link));
    }
  }

  std::vector<std::string> waiting_;
  std::vector<std::string> bundles_;
  std::set<FileIdentity> seen_;
};

}  // namespace

std::vector<std::string> applicationBundlesBelow(const std::vector<std::string>& folders) {
  Search search;
  for (const std::string& folder : folders) {
    if (folder.starts_with('/') && isValidUtf8(folder)) search.addFolder(folder);
  }
  return std::move(search).run();
}

}  // namespace revwarden
