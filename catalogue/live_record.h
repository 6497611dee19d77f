#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "base/value.h"

namespace revwarden {

/// A record in the catalogue: an object with an identity and contents that can change.
///
/// An edit in place swaps the contents of the same object; a replacement puts a new object in its
/// slot. Any thread may read a record at any time and gets a consistent dictionary. Only the
/// catalogue changes it, under its lock.
class LiveRecord {
 public:
  explicit LiveRecord(Dictionary contents) : contents_(std::move(contents)) {}

  /// Returns an immutable copy of the current contents.
  Dictionary contents() const {
    const std::lock_guard lock(mutex_);
    return contents_;
  }

 private:
  friend class RecordList;

  void setContents(Dictionary contents) {
    const std::lock_guard lock(mutex_);
    std::swap(contents_, contents);
  }

  mutable std::mutex mutex_;  // a leaf: no other lock is taken while it is held
  Dictionary contents_;
};

using LiveRecordRef = std::shared_ptr<const LiveRecord>;
using LiveRecords = std::vector<LiveRecordRef>;

}  // namespace revwarden
