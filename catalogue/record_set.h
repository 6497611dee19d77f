#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "catalogue/live_record.h"

namespace revwarden {

/// A set of live records in which a record is found when it is one of them, or when its contents
/// equal those of one of them. One thread at a time.
class RecordSet {
 public:
  void reserve(size_t count) { objects_.reserve(count); }
  void add(const LiveRecordRef& record);
  bool contains(const LiveRecordRef& record) const;
  bool empty() const { return objects_.empty(); }

 private:
  using RecordsByID = std::unordered_multimap<std::string, LiveRecordRef>;

  const RecordsByID& byID() const;

  std::unordered_set<LiveRecordRef> objects_;
  // Records of equal contents have equal ids; so only those of one id are ever compared. Made when
  // first a record is asked for that is no member by itself.
  mutable RecordsByID byID_;
};

}  // namespace revwarden
