// `removeTree` on a Mac.
#include <fcntl.h>
#include <fts.h>
#include <removefile.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>

#include "base/text.h"
#include "ports/posix/remove_tree.h"

namespace revwarden {
namespace {

struct CloseTree {
  void operator()(FTS* tree) const { ::fts_close(tree); }
};

bool isGone(const std::string& path) {
  struct stat facts;
  return ::lstat(path.c_str(), &facts) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

// Makes every folder in the tree readable and writable, so that its entries can be removed.
void openFolders(std::string path) {
  char* const tops[] = {path.data(), nullptr};
  const std::unique_ptr<FTS, CloseTree> tree(
      ::fts_open(tops, FTS_PHYSICAL | FTS_NOCHDIR | FTS_XDEV, nullptr));
  while (const FTSENT* const entry = tree ? ::fts_read(tree.get()) : nullptr) {
    if (entry->fts_info != FTS_D) continue;
    ::fchmodat(AT_FDCWD, entry->fts_accpath, S_IRWXU, AT_SYMLINK_NOFOLLOW);
  }
}

}  // namespace

bool removeTree(const std::string& path) {
  // A slash after a link would mean the target of the link.
  const std::string plain = path.substr(0, path.find_last_not_of('/') + 1);
  const std::string_view name = lastPathComponent(plain);
  if (plain.empty() || name == "." || name == ".." || plain.find('\0') != plain.npos) return false;
  if (::removefile(plain.c_str(), nullptr, REMOVEFILE_RECURSIVE) == 0 || isGone(plain)) return true;
  openFolders(plain);
  ::removefile(plain.c_str(), nullptr, REMOVEFILE_RECURSIVE);
  return isGone(plain);
}

}  // namespace revwarden
