#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "base/value.h"

namespace revwarden {

/// A record that sits in the catalogue: an object with an identity, and contents that change.
///
/// An edit in place swaps the contents of the same object; a replacement puts another object in its
/// slot. Who holds one may read it at any time, from any thread, and sees a whole dictionary. Only
/// the catalogue writes, under its own lock.
class LiveRecord {
 public:
  explicit LiveRecord(Dictionary contents) : contents_(std::move(contents)) {}

  /// An immutable copy of the contents as they are now.
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

  mutable std::mutex mutex_;  // a leaf: nothing else is locked under it
  Dictionary contents_;
};

using LiveRecordRef = std::shared_ptr<const LiveRecord>;
using LiveRecords = std::vector<LiveRecordRef>;

}  // namespace revwarden
