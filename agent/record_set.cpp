#include "agent/record_set.h"

#include <algorithm>

#include "agent/record_keys.h"

namespace revwarden {
namespace {

std::string idOf(const Dictionary& contents) {
  const std::string* id = contents.stringFor(kKQRWIDKey);
  return id ? *id : std::string();
}

}  // namespace

void RecordSet::add(const LiveRecordRef& record) {
  if (objects_.insert(record).second) byID_.emplace(idOf(record->contents()), record);
}

bool RecordSet::contains(const LiveRecordRef& record) const {
  if (objects_.contains(record)) return true;
  const Dictionary contents = record->contents();
  const auto [begin, end] = byID_.equal_range(idOf(contents));
  return std::any_of(begin, end,
                     [&](const auto& entry) { return entry.second->contents() == contents; });
}

}  // namespace revwarden
