#include "ports/linux/files/escaping_links.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "ports/posix/directory.h"
#include "ports/posix/system_error.h"
#include "ports/posix/tree_walk.h"

namespace revwarden {
namespace {

class Removal final : public TreeWalk {
 public:
  explicit Removal(FileDescriptor top) : TreeWalk(std::move(top)) {}

 private:
  Result<> visit(const char* name, unsigned char type) override {
    if (type != DT_LNK || !leadsOut(top(), place()) || unlinkat(folder(), name, 0) == 0) return {};
    return systemError();
  }
};

}  // namespace

bool leadsOut(int top, const std::string& path) {
  if (openBeneath(top, path, O_PATH)) return false;
  return errno != ENOENT && errno != ENOTDIR && errno != ELOOP;
}

Result<> removeEscapingLinks(const std::string& folder) {
  FileDescriptor top = openDirectory(folder);
  if (!top && errno == ENOENT) return {};
  if (!top) return systemError(folder);
  Removal removal(std::move(top));
  const Result<> removed = removal.walk();
  if (!removed) return atPath(folder + "/" + removal.place(), removed.error());
  return {};
}

}  // namespace revwarden
