#include "catalogue/item_catalogue.h"

#include <string>

#include "catalogue/record_keys.h"

namespace revwarden {

LiveRecords ItemCatalogue::items() const {
  const std::lock_guard lock(itemsLock_);
  LiveRecords answered;
  for (auto& slot : records_) {
    if (slot.record->contents().contains(kKQRWAvailableVersionInfoKey)) {
      answered.push_back(slot.record);
    }
  }
  return answered;
}

LiveRecords ItemCatalogue::itemsSnapshot() const {
  const std::lock_guard lock(itemsLock_);
  return records_.all();
}

std::optional<Dictionary> ItemCatalogue::itemSnapshotWithID(std::string_view id) const {
  const std::lock_guard lock(itemsLock_);
  const auto position = records_.firstWithID(id);
  return position == records_.end() ? std::nullopt : std::optional(RecordList::contents(position));
}

std::optional<Dictionary> ItemCatalogue::itemSnapshotWithPath(std::string_view path) const {
  const std::lock_guard lock(itemsLock_);
  const auto position = records_.firstWithPath(path);
  return position == records_.end() ? std::nullopt : std::optional(RecordList::contents(position));
}

bool ItemCatalogue::updateItem(const Dictionary& item) {
  const std::string* id = item.stringFor(kKQRWIDKey);
  if (!id) return false;
  const std::lock_guard lock(itemsLock_);
  const auto position = records_.firstWithID(*id);
  if (position == records_.end()) return false;
  records_.replace(position, item);
  return true;
}

void ItemCatalogue::setObjectThreadSave_forKey_forItemWithID(const Value& value,
                                                             std::string_view key,
                                                             std::string_view id) {
  const std::lock_guard lock(itemsLock_);
  const auto position = records_.firstWithID(id);
  if (position == records_.end()) return;
  records_.edit(position, RecordList::contents(position).with(key, value));
}

bool ItemCatalogue::removeItem(const std::optional<Dictionary>& item) {
  const std::string* id = item ? item->stringFor(kKQRWIDKey) : nullptr;
  if (!id) return false;
  const std::lock_guard lock(itemsLock_);
  const auto position = records_.firstWithID(*id);
  if (position == records_.end()) return false;
  records_.remove(position);
  return true;
}

void ItemCatalogue::appendItem(const Dictionary& item) {
  const std::lock_guard lock(itemsLock_);
  records_.append(item);
}

bool ItemCatalogue::itemWithIdIsInBlackList(std::string_view id) const {
  const std::optional<Dictionary> item = itemSnapshotWithID(id);
  return item && item->boolFor(kKQRWIsInBlackList);
}

bool wasNeverChecked(const Dictionary& record) {
  return !record.contains(kKQRWAvailableVersionInfoKey) || !record.dateFor(kKQRWLastFullCheckDate);
}

}  // namespace revwarden
