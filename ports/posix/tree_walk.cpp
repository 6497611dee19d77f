#include "ports/posix/tree_walk.h"

#include <dirent.h>

#include <utility>

#include "ports/posix/directory.h"
#include "ports/posix/system_error.h"

namespace revwarden {

Result<> TreeWalk::walk() {
  way_.emplace_back();
  Result<> step = start();
  while (step && !way_.empty()) step = way_.back().below.empty() ? leave() : next();
  return step;
}

std::string TreeWalk::place() const {
  std::string path;
  for (size_t level = 1; level < way_.size(); ++level) path += way_[level].name + "/";
  path += entry_;
  if (path.ends_with('/')) path.pop_back();
  return path;
}

Result<> TreeWalk::enter(const char* name) {
  if (open(name)) return {};
  return systemError();
}

Result<> TreeWalk::next() {
  std::string name = std::move(way_.back().below.back());
  way_.back().below.pop_back();
  entry_ = name;
  if (const Result<> entered = enter(name.c_str()); !entered) return failed(entered.error());
  way_.push_back({std::move(name), {}});
  entry_.clear();
  return start();
}

Result<> TreeWalk::start() {
  if (Result<> begun = begin(); !begun) return begun;
  Result<> visited;
  const bool isRead = forEachEntry(folder(), [&](const char* name, unsigned char type) {
    entry_ = name;
    if (type == DT_DIR) {
      way_.back().below.emplace_back(name);
    } else {
      visited = visit(name, type);
    }
    return visited.ok();
  });
  if (!visited) return visited;
  entry_.clear();
  return isRead ? Result<>() : failed(systemError());
}

Result<> TreeWalk::leave() {
  if (way_.size() == 1) {
    const Result<> ended = end(folder(), "");
    if (ended) way_.clear();
    return ended;
  }
  const FileDescriptor left = stack_.leave();
  if (folder() < 0) return systemError();
  entry_ = std::move(way_.back().name);
  way_.pop_back();
  return end(left.get(), entry_);
}

}  // namespace revwarden
