#pragma once

#include <mutex>
#include <optional>
#include <string_view>

#include "base/value.h"
#include "catalogue/record_list.h"

namespace revwarden {

/// The agent's catalogue: one record for each installed application, in the order in which they
/// were found.
///
/// Every operation may be called on any thread, takes `itemsLock` and gives it back before it
/// returns. None saves or sends an event. Operations that take several of them are not atomic: a
/// change made in between is overwritten, which is accepted. A record is never added here under an
/// id that it does not bring along.
class ItemCatalogue {
 public:
  /// `itemsLock`, held as long as this object lives. Meanwhile its holder works on the records
  /// alone: it calls no other operation of the catalogue, saves nothing and sends nothing.
  class Access {
   public:
    explicit Access(ItemCatalogue& catalogue)
        : lock_(catalogue.itemsLock_), records_(catalogue.records_) {}
    RecordList* operator->() { return &records_; }

   private:
    const std::lock_guard<std::mutex> lock_;
    RecordList& records_;
  };

  /// The records that hold an answer of the update service, whatever it says, in catalogue order.
  LiveRecords items() const;
  /// All records, in catalogue order.
  LiveRecords itemsSnapshot() const;
  /// The contents of the first record with this id, or at this path.
  std::optional<Dictionary> itemSnapshotWithID(std::string_view id) const;
  std::optional<Dictionary> itemSnapshotWithPath(std::string_view path) const;

  /// Puts a new record with the contents `item` in the place of the first record of the same id.
  /// False, with nothing changed, when there is none.
  bool updateItem(const Dictionary& item);
  /// Sets one value in the first record with this id, which stays the same object.
  void setObjectThreadSave_forKey_forItemWithID(const Value& value, std::string_view key,
                                                std::string_view id);
  /// Removes the first record with the id of `item`. False when nothing was removed.
  bool removeItem(const std::optional<Dictionary>& item);
  void appendItem(const Dictionary& item);

  bool itemWithIdIsInBlackList(std::string_view id) const;

 private:
  mutable std::mutex itemsLock_;
  mutable RecordList records_;
};

}  // namespace revwarden
