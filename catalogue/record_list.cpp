#include "catalogue/record_list.h"

#include <functional>
#include <string>
#include <utility>

namespace revwarden {
namespace {

size_t hashOf(std::string_view text) {
  return std::hash<std::string_view>()(text);
}

}  // namespace

void RecordList::Index::insert(Position position, const Dictionary& contents) {
  if (const std::string* text = contents.stringFor(key_)) {
    positions_.emplace(hashOf(*text), position);
  }
}

void RecordList::Index::erase(Position position, const Dictionary& contents) {
  const std::string* text = contents.stringFor(key_);
  if (!text) return;
  auto [entry, last] = positions_.equal_range(hashOf(*text));
  while (entry != last && entry->second != position) ++entry;
  if (entry != last) positions_.erase(entry);
}

std::optional<RecordList::Position> RecordList::Index::first(std::string_view text) const {
  std::optional<Position> found;
  const auto [begin, end] = positions_.equal_range(hashOf(text));
  for (auto entry = begin; entry != end; ++entry) {
    const Position position = entry->second;
    if (found && (*found)->order < position->order) continue;
    const Dictionary contents = position->record->contents();
    const std::string* value = contents.stringFor(key_);
    if (value && *value == text) found = position;
  }
  return found;
}

LiveRecords RecordList::all() const {
  LiveRecords records;
  records.reserve(slots_.size());
  for (const Slot& slot : slots_) records.push_back(slot.record);
  return records;
}

RecordList::Position RecordList::firstWithID(std::string_view id) {
  return byID_.first(id).value_or(end());
}

RecordList::Position RecordList::firstWithPath(std::string_view path) {
  return byPath_.first(path).value_or(end());
}

void RecordList::append(const Dictionary& contents) {
  slots_.push_back(Slot{std::make_shared<LiveRecord>(contents), nextOrder_++});
  const Position position = std::prev(slots_.end());
  byID_.insert(position, contents);
  byPath_.insert(position, contents);
}

void RecordList::replace(Position position, Dictionary contents) {
  setContents(position, std::move(contents), false);
}

void RecordList::edit(Position position, Dictionary contents) {
  setContents(position, std::move(contents), true);
}

void RecordList::setContents(Position position, Dictionary contents, bool inPlace) {
  const Dictionary before = position->record->contents();
  const auto reindex = [&](Index& index, const char* key) {
    const std::string* was = before.stringFor(key);
    const std::string* is = contents.stringFor(key);
    if (was == is || (was && is && *was == *is)) return;
    index.erase(position, before);
    index.insert(position, contents);
  };
  reindex(byID_, kKQRWIDKey);
  reindex(byPath_, kKQRWApplicationPathKey);
  if (inPlace) {
    position->record->setContents(std::move(contents));
  } else {
    position->record = std::make_shared<LiveRecord>(std::move(contents));
  }
}

RecordList::Position RecordList::remove(Position position) {
  const Dictionary contents = position->record->contents();
  byID_.erase(position, contents);
  byPath_.erase(position, contents);
  return slots_.erase(position);
}

void RecordList::clear() {
  byID_.clear();
  byPath_.clear();
  slots_.clear();
}

}  // namespace revwarden
