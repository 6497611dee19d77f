#include "ports/linux/bundles/application_search.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <set>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "ports/linux/files/package_names.h"

namespace revwarden {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

OpenFolder openFolder(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return nullptr;
  DIR* const folder = fdopendir(descriptor);
  if (!folder) close(descriptor);
  return OpenFolder(folder);
}

unsigned char typeOf(DIR* folder, const dirent& entry) {
  struct stat facts;
  if (entry.d_type != DT_UNKNOWN) return entry.d_type;
  if (fstatat(dirfd(folder), entry.d_name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return DT_UNKNOWN;
  return IFTODT(facts.st_mode);
}

bool leadsToFolder(DIR* folder, const dirent& link) {
  struct stat facts;
  return fstatat(dirfd(folder), link.d_name, &facts, 0) == 0 && S_ISDIR(facts.st_mode);
}

class Search {
 public:
  void addFolder(std::string path) { waiting_.push_back(std::move(path)); }

  std::vector<std::string> run() && {
    while (!waiting_.empty()) {
      const std::string path = std::move(waiting_.back());
      waiting_.pop_back();
      const OpenFolder folder = openFolder(path);
      if (folder && isNew(folder.get())) searchFolder(folder.get(), path);
    }
    return std::move(bundles_);
  }

 private:
  bool isNew(DIR* folder) {
    struct stat facts;
    return fstat(dirfd(folder), &facts) == 0 && seen_.emplace(facts.st_dev, facts.st_ino).second;
  }

  void searchFolder(DIR* folder, const std::string& path) {
    while (const dirent* entry = readdir(folder)) {
      const std::string_view name = entry->d_name;
      if (name == "." || name == "..") continue;
      const unsigned char type = typeOf(folder, *entry);
      if (type != DT_DIR && type != DT_LNK) continue;
      if (!isValidUtf8(name) || (type == DT_LNK && !leadsToFolder(folder, *entry))) continue;
      add(path.ends_with('/') ? path + entry->d_name : path + '/' + entry->d_name, name,
          type == DT_LNK);
    }
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

  // The name that counts is the one of the folder that the link leads to.
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
  std::set<std::pair<dev_t, ino_t>> seen_;
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
