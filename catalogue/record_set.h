#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "catalogue/live_record.h"

namespace revwarden {

/// A set of live records, in which a check keeps those it asked about and a refresh those it will
/// remove. It contains a record that was added, and any record with the same
/// contents as one that was added. One thread at a time.
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
  // Records with equal contents have equal ids, so only records with the same id are compared.
  // Built when `contains` first needs it.
  mutable RecordsByID byID_;
};

}  // namespace revwarden
