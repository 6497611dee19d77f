#pragma once

#include <optional>
#include <string>
#include <utility>

#include "base/result.h"

// The format of Trash folders: what is in the Trash lies in "files", and a note of the same name in
// "info" says where it was and when it was deleted.
namespace revwarden {

/// A free name in the Trash of the user's data folder, with its note. The destructor removes the
/// note unless `keep` was called.
class TrashEntry {
 public:
  /// Makes the Trash folder if necessary. Reserves `name`, or a variant if that is taken, for what
  /// is at the full path `origin`.
  static Result<TrashEntry> reserve(const std::string& origin, const std::string& name);

  TrashEntry(TrashEntry&& other) noexcept
      : path_(std::move(other.path_)), note_(std::exchange(other.note_, {})) {}
  TrashEntry& operator=(TrashEntry&&) = delete;
  ~TrashEntry();

  /// The full path for what is deleted. Nothing is there yet.
  const std::string& path() const { return path_; }

  /// To be called when something is at the path.
  void keep() { note_.clear(); }

 private:
  TrashEntry(std::string path, std::string note) : path_(std::move(path)), note_(std::move(note)) {}

  std::string path_;
  std::string note_;  // the path of the note; empty: none to remove
};

/// The path where something was before it was moved to `path` in any Trash folder, of the user or
/// of a volume. Returns nullopt if `path` is not in a Trash or its note cannot be read.
std::optional<std::string> originOfTrashed(const std::string& path);

}  // namespace revwarden
