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

/// The ordered list of the catalogue's records, with indexes by id and by path. Has no lock of its
/// own: `ItemCatalogue` guards it.
class RecordList {
  struct Slot {
    std::shared_ptr<LiveRecord> record;
    uint64_t order;  // increases along the list: the lower of two records with one id is first
  };
  using Slots = std::list<Slot>;

 public:
  /// A position in the list. Valid until its record is removed.
  using Position = Slots::iterator;

  size_t size() const { return slots_.size(); }
  Position begin() { return slots_.begin(); }
  Position end() { return slots_.end(); }
  /// Returns all records in order.
  LiveRecords all() const;

  /// Return the position of the first record with this id or path; `end()` if there is none.
  Position firstWithID(std::string_view id);
  Position firstWithPath(std::string_view path);

  /// Return the record at a position, or a copy of its contents.
  static LiveRecordRef record(Position position) { return position->record; }
  static Dictionary contents(Position position) { return position->record->contents(); }

  /// Adds a new record at the end.
  void append(const Dictionary& contents);
  /// Replaces the record at a position by a new record.
  void replace(Position position, Dictionary contents);
  /// Changes the contents of the record at a position. The record stays the same object.
  void edit(Position position, Dictionary contents);
  /// Removes a record and returns the position after it.
  Position remove(Position position);
  void clear();

 private:
  /// Finds positions by the text that records have for one key. Stores hashes, not texts.
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
