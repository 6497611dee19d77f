#include "catalogue/record_set.h"

#include <algorithm>

#include "catalogue/record_keys.h"

namespace revwarden {
namespace {

std::string idOf(const Dictionary& contents) {
  const std::string* id = contents.stringFor(kKQRWIDKey);
  return id ? *id : std::string();
}

}  // namespace

void RecordSet::add(const LiveRecordRef& record) {
  objects_.insert(record);
  byID_.clear();
}

bool RecordSet::contains(const LiveRecordRef& record) const {
  if (objects_.contains(record)) return true;
  const Dictionary contents = record->contents();
  const auto [begin, end] = byID().equal_range(idOf(contents));
  return std::any_of(begin, end,
                     [&](const auto& entry) { return entry.second->contents() == contents; });
}

const RecordSet::RecordsByID& RecordSet::byID() const {
  if (byID_.empty()) {
    for (const LiveRecordRef& record : objects_) byID_.emplace(idOf(record->contents()), record);
  }
  return byID_;
}

}  // namespace revwarden
