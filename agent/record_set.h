#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "agent/live_record.h"

namespace revwarden {

/// A set of live records in which a record is found when it is one of them, or when its contents
/// equal those of one of them. One thread at a time.
class RecordSet {
 public:
  void add(const LiveRecordRef& record);
  bool contains(const LiveRecordRef& record) const;
  bool empty() const { return objects_.empty(); }

 private:
  std::unordered_set<LiveRecordRef> objects_;
  // Records of equal contents have equal ids; so only those of one id are ever compared.
  std::unordered_multimap<std::string, LiveRecordRef> byID_;
};

}  // namespace revwarden
