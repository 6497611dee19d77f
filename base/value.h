#pragma once

#include <compare>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

// Property-list values: what settings, item records and answers are made of.
//
// Strings are UTF-8. Arrays and dictionaries are immutable and shared: a copy costs a reference
// count, may be kept for as long as its holder likes and may be read by any thread. Changing one
// means building another (`Dictionary::with`, `DictionaryBuilder`).
namespace revwarden {

class Value;
struct DictionaryEntry;

/// A moment, in seconds since 1970-01-01 00:00:00 UTC, with its fraction.
struct Date {
  double secondsSince1970 = 0;

  auto operator<=>(const Date&) const = default;
};

/// Bytes without a meaning of their own.
struct Data {
  std::string bytes;

  bool operator==(const Data&) const = default;
};

/// An immutable, shared list of values.
class Array {
 public:
  Array() = default;
  explicit Array(std::vector<Value> elements);

  size_t size() const;
  bool empty() const { return size() == 0; }
  const Value* begin() const&;
  const Value* end() const&;
  const Value& operator[](size_t index) const&;
  const Value* begin() const&& = delete;  // would dangle

  /// Same length and equal elements in the same order.
  friend bool operator==(const Array& a, const Array& b);

 private:
  std::shared_ptr<const std::vector<Value>> elements_;  // null when empty
};

/// An immutable, shared mapping of text keys to values. Entries are kept sorted by key.
///
/// The pointers that the look-ups return stay valid as long as this dictionary or a copy of it.
/// They cannot be asked of a temporary.
class Dictionary {
 public:
  Dictionary() = default;
  /// Of two entries with the same key the later one counts.
  Dictionary(std::initializer_list<DictionaryEntry> entries);

  size_t size() const;
  bool empty() const { return size() == 0; }
  const DictionaryEntry* begin() const&;
  const DictionaryEntry* end() const&;
  const DictionaryEntry* begin() const&& = delete;

  /// The value for `key`, nullptr when there is none.
  const Value* find(std::string_view key) const&;
  const Value* find(std::string_view key) const&& = delete;
  bool contains(std::string_view key) const { return find(key) != nullptr; }

  /// The value for `key` when it is of that type; absent when missing or of another type. To
  /// iterate over an array or dictionary, keep the answer in a variable first.
  const std::string* stringFor(std::string_view key) const&;
  const std::string* stringFor(std::string_view key) const&& = delete;
  /// The same, copied.
  std::optional<std::string> textFor(std::string_view key) const;
  std::optional<Date> dateFor(std::string_view key) const;
  std::optional<Array> arrayFor(std::string_view key) const;
  std::optional<Dictionary> dictionaryFor(std::string_view key) const;
  /// `Value::boolValue` and `Value::integerValue` of the value for `key`; false and 0 without one.
  bool boolFor(std::string_view key) const;
  int64_t integerFor(std::string_view key) const;

  /// A dictionary that differs in one key.
  Dictionary with(std::string_view key, Value value) const;
  /// A dictionary without `key`; this very one when it has none.
  Dictionary without(std::string_view key) const;

  /// Whether both are the same object or equal in contents, whatever the order they were made in.
  friend bool operator==(const Dictionary& a, const Dictionary& b);

 private:
  friend class DictionaryBuilder;
  using Entries = std::vector<DictionaryEntry>;
  explicit Dictionary(Entries sorted);

  std::shared_ptr<const Entries> entries_;  // null when empty
};

/// One property-list value. Booleans, integers and reals are kept apart, so that each is stored as
/// what it was, but compare equal when they stand for the same number.
class Value {
 public:
  Value(double value) : storage_(value) {}
  Value(std::string value) : storage_(std::move(value)) {}
  Value(std::string_view value) : storage_(std::string(value)) {}
  Value(const char* value) : storage_(std::string(value)) {}
  Value(Date value) : storage_(value) {}
  Value(Data value) : storage_(std::move(value)) {}
  Value(Array value) : storage_(std::move(value)) {}
  Value(Dictionary value) : storage_(std::move(value)) {}
  template <typename Integer, std::enable_if_t<std::is_integral_v<Integer>, int> = 0>
  Value(Integer value)  // takes booleans too, so that no pointer passes for one
      : storage_(
            static_cast<std::conditional_t<std::is_same_v<Integer, bool>, bool, int64_t>>(value)) {}

  /// The value as a T (bool, int64_t, double, std::string, Date, Data, Array, Dictionary), nullptr
  /// when it is of another type. Valid as long as this value.
  template <typename T>
  const T* as() const& {
    return std::get_if<T>(&storage_);
  }
  template <typename T>
  const T* as() const&& = delete;

  template <typename Visitor>
  decltype(auto) visit(Visitor&& visitor) const {
    return std::visit(std::forward<Visitor>(visitor), storage_);
  }

  /// What a flag reads as: a number other than 0, or a text that begins with a yes ("YES", "true",
  /// "1"). False for every other type.
  bool boolValue() const;
  /// What a number reads as: reals are cut off, texts give their leading digits. 0 for every other
  /// type and for what does not fit into 64 bits.
  int64_t integerValue() const;

  friend bool operator==(const Value& a, const Value& b);

 private:
  std::variant<bool, int64_t, double, std::string, Date, Data, Array, Dictionary> storage_;
};

struct DictionaryEntry {
  std::string key;
  Value value;

  bool operator==(const DictionaryEntry&) const = default;
};

/// Collects the changes to a dictionary and makes them in one go.
class DictionaryBuilder {
 public:
  DictionaryBuilder() = default;
  explicit DictionaryBuilder(const Dictionary& base);

  /// The later value of one key counts.
  void set(std::string key, Value value);
  void remove(std::string_view key);
  void reserve(size_t count) { entries_.reserve(count); }

  /// The finished dictionary; the builder is empty afterwards.
  Dictionary build();

 private:
  std::vector<DictionaryEntry> entries_;
};

}  // namespace revwarden
