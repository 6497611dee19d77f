#pragma once

#include <mutex>
#include <optional>
#include <string_view>

#include "base/value.h"
#include "catalogue/record_list.h"

namespace revwarden {

/// The agent's catalogue: one record (record_keys.h) for each installed application, in the order
/// in which they were found.
///
/// Any thread: each operation holds `itemsLock` while it runs. None saves or sends an event. A
/// sequence of operations is not atomic, so it may overwrite a change that another thread makes in
/// between; callers accept that.
class ItemCatalogue {
 public:
  /// Gives access to the records and holds `itemsLock` as long as it exists. During that time its
  /// owner must not call an operation of the catalogue, save or send an event.
  class Access {
   public:
    explicit Access(ItemCatalogue& catalogue)
        : lock_(catalogue.itemsLock_), records_(catalogue.records_) {}
    RecordList* operator->() { return &records_; }

   private:
    const std::lock_guard<std::mutex> lock_;
    RecordList& records_;
  };

  /// Returns the records with an answer of the update service, even an empty one or one that offers
  /// an old version, in catalogue order.
  LiveRecords items() const;
  /// Returns all records, in catalogue order.
  LiveRecords itemsSnapshot() const;
  /// Return a copy of the first record with this id or path; absent if there is none.
  std::optional<Dictionary> itemSnapshotWithID(std::string_view id) const;
  std::optional<Dictionary> itemSnapshotWithPath(std::string_view path) const;

  /// Replaces the first record that has the id of `item` by a new record with these contents.
  /// Returns false, without a change, if there is none.
  bool updateItem(const Dictionary& item);
  /// Sets one value in the first record with this id, if there is one. The record stays the same
  /// object.
  void setObjectThreadSave_forKey_forItemWithID(const Value& value, std::string_view key,
                                                std::string_view id);
  /// Removes the first record that has the id of `item`. Returns true if a record was removed.
  bool removeItem(const std::optional<Dictionary>& item);
  /// Adds a record at the end.
  void appendItem(const Dictionary& item);

  /// Returns false for an unknown id.
  bool itemWithIdIsInBlackList(std::string_view id) const;

 private:
  mutable std::mutex itemsLock_;
  mutable RecordList records_;
};

/// Returns true if the record has no answer of the update service or no date of a check.
/// Intentional: a check sets the date only in records without an answer, so a record that was
/// answered at its first check still counts as never checked.
bool wasNeverChecked(const Dictionary& record);

}  // namespace revwarden
