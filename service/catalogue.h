#pragma once

#include <sys/stat.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace revwarden {

/// What the service knows: a JSON file with a list of objects, one for each application, whose
/// members are the fields of its answer. The member "bundle_id" says which application it is.
///
/// Of two objects with one bundle id the first counts. An object without a bundle id, a member
/// whose name is no XML name and one whose value is a list, an object or null are left out; all but
/// null are logged. Numbers and booleans read as JSON writes them.
class Catalogue {
 public:
  using Fields = std::vector<std::pair<std::string, std::string>>;  // name and text, by name
  using Entries = std::unordered_map<std::string, Fields>;          // by bundle id

  explicit Catalogue(std::string path) : path_(std::move(path)) {}

  /// What the file says now. It is read again when its identity, size or times changed. One that
  /// cannot be read or is damaged is logged, once for each state, and the last good one stays (at
  /// first an empty one). Never null. Any thread.
  std::shared_ptr<const Entries> entries();

 private:
  void readAgain();

  const std::string path_;
  std::mutex mutex_;
  std::optional<struct stat> state_;  // as it was last read; absent when the file was missing
  bool everRead_ = false;
  std::shared_ptr<const Entries> entries_ = std::make_shared<const Entries>();
};

}  // namespace revwarden
