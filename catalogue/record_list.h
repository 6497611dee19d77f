#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "catalogue/live_record.h"
#include "catalogue/record_keys.h"

namespace revwarden {

/// The catalogue's records in their order, found by id and by path without walking. Without a lock
/// of its own: `ItemCatalogue` guards it.
class RecordList {
  struct Slot {
    std::shared_ptr<LiveRecord> record;
    uint64_t order;  // grows along the list; tells which of two equal ids comes first
  };
  using Slots = std::list<Slot>;

 public:
  /// A place in the list; stays valid until its record is removed.
  using Position = Slots::iterator;

  size_t size() const { return slots_.size(); }
  Position begin() { return slots_.begin(); }
  Position end() { return slots_.end(); }
  LiveRecords all() const;

  /// The first record whose id, or path, is that text; `end()` without one.
  Position firstWithID(std::string_view id);
  Position firstWithPath(std::string_view path);

  static LiveRecordRef record(Position position) { return position->record; }
  static Dictionary contents(Position position) { return position->record->contents(); }

  void append(const Dictionary& contents);
  /// Puts a new record in the place of the one at `position`.
  void replace(Position position, Dictionary contents);
  /// Changes the contents of the record at `position`, which stays the same object.
  void edit(Position position, Dictionary contents);
  /// Answers the position after the removed record.
  Position remove(Position position);
  void clear();

 private:
  /// Finds positions by the hash of one of a record's texts.
  class Index {
   public:
    explicit Index(const char* key) : key_(key) {}
    void insert(Position position, const Dictionary& contents);
    void erase(Position position, const Dictionary& contents);
    std::optional<Position> first(std::string_view text) const;
    void clear() { positions_.clear(); }

   private:
    const char* key_;
    std::unordered_multimap<size_t, Position> positions_;
  };

  void setContents(Position position, Dictionary contents, bool inPlace);

  Slots slots_;
  uint64_t nextOrder_ = 0;
  Index byID_{kKQRWIDKey};
  Index byPath_{kKQRWApplicationPathKey};
};

}  // namespace revwarden
