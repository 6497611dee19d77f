#pragma once

#include <optional>
#include <string>
#include <utility>

namespace revwarden {

/// A free name in the Trash of the user's data folder, with the note that tells where what will be
/// there came from and when. The note is taken back with this object, unless the place is used.
class PlaceInTrash {
 public:
  /// Makes the Trash where there is none. For something that was at `origin`, a full path, and had
  /// this name: it gets another one when that is taken. Absent on failure, see `errno`.
  static std::optional<PlaceInTrash> reserve(const std::string& origin, const std::string& name);

  PlaceInTrash(PlaceInTrash&& other) noexcept
      : path_(std::move(other.path_)), note_(std::exchange(other.note_, {})) {}
  PlaceInTrash& operator=(PlaceInTrash&&) = delete;
  ~PlaceInTrash();

  /// Where nothing is yet.
  const std::string& path() const { return path_; }

  /// Something is there now, and the note stays.
  void use() { note_.clear(); }

 private:
  PlaceInTrash(std::string path, std::string note)
      : path_(std::move(path)), note_(std::move(note)) {}

  bool writeNote(const std::string& text);

  std::string path_;
  std::string note_;  // empty: none to take back
};

}  // namespace revwarden
