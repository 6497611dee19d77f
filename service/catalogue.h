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

/// The offers of the update service, read from a JSON file: a list of objects, one per application.
/// The members of an object are the fields of the answer; "bundle_id" identifies the application.
///
/// Skipped and logged: an object without a bundle id, a second object with the same one, a member
/// whose name is not a valid XML name or whose value is a list or an object. Members that are null
/// are skipped silently. Numbers and booleans are sent as JSON writes them.
class Catalogue {
 public:
  using Fields = std::vector<std::pair<std::string, std::string>>;  // name and text, sorted by name
  using Entries = std::unordered_map<std::string, Fields>;          // by bundle id

  explicit Catalogue(std::string path) : path_(std::move(path)) {}

  /// Returns the current contents of the file, which is read again if its identity, size or times
  /// changed. If it cannot be read or parsed, that is logged once, and the last valid contents stay
  /// (initially none). Never nullptr. Any thread.
  std::shared_ptr<const Entries> entries();

 private:
  void reload();

  const std::string path_;
  std::mutex mutex_;
  std::optional<struct stat> state_;  // when it was last read; absent if the file was missing
  bool everRead_ = false;
  std::shared_ptr<const Entries> entries_ = std::make_shared<const Entries>();
};

}  // namespace revwarden
