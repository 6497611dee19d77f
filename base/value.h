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

// Property-list values. Settings, item records and answers of the update service consist of them.
//
// Strings are UTF-8. Arrays and dictionaries are immutable and shared: copying one only increments
// a reference count, and any thread may read it. To change one, build a new one
// (`Dictionary::with`, `DictionaryBuilder`).
namespace revwarden {

class Value;
struct DictionaryEntry;

/// A point in time: seconds since 1970-01-01 00:00:00 UTC, with fraction.
struct Date {
  double secondsSince1970 = 0;

  auto operator<=>(const Date&) const = default;
};

/// Uninterpreted bytes.
struct Data {
  std::string bytes;

  bool operator==(const Data&) const = default;
};

/// An immutable, shared list of values. Its pointers and references are valid as long as this array
/// or a copy of it.
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

  /// Returns true if both have equal elements in the same order.
  friend bool operator==(const Array& a, const Array& b);

 private:
  std::shared_ptr<const std::vector<Value>> elements_;  // null when empty
};

/// An immutable, shared mapping of string keys to values, sorted by key.
///
/// Pointers that the look-ups return are valid as long as this dictionary or a copy of it. Calling
/// them on a temporary does not compile.
class Dictionary {
 public:
  Dictionary() = default;
  /// If a key occurs twice, the later entry wins.
  Dictionary(std::initializer_list<DictionaryEntry> entries);

  size_t size() const;
  bool empty() const { return size() == 0; }
  const DictionaryEntry* begin() const&;
  const DictionaryEntry* end() const&;
  const DictionaryEntry* begin() const&& = delete;

  /// Returns the value for `key`, nullptr if there is none.
  const Value* find(std::string_view key) const&;
  const Value* find(std::string_view key) const&& = delete;
  bool contains(std::string_view key) const { return find(key) != nullptr; }

  /// These return the value for `key`; nullptr or absent if it is missing or has another type. To
  /// iterate over a returned array or dictionary, store it in a variable first: in C++20 a
  /// range-for over `*d.arrayFor(key)` would dangle.
  const std::string* stringFor(std::string_view key) const&;
  const std::string* stringFor(std::string_view key) const&& = delete;
  /// A copy of the string for `key`.
  std::optional<std::string> textFor(std::string_view key) const;
  std::optional<Date> dateFor(std::string_view key) const;
  std::optional<Array> arrayFor(std::string_view key) const;
  std::optional<Dictionary> dictionaryFor(std::string_view key) const;
  /// These return `Value::boolValue` and `Value::integerValue` of the value for `key`; false and 0
  /// if it is missing.
  bool boolFor(std::string_view key) const;
  int64_t integerFor(std::string_view key) const;

  /// Returns a copy in which `key` has this value.
  Dictionary with(std::string_view key, Value value) const;
  /// Returns a copy without `key`.
  Dictionary without(std::string_view key) const;

  /// Returns true if both have the same keys with equal values.
  friend bool operator==(const Dictionary& a, const Dictionary& b);

 private:
  friend class DictionaryBuilder;
  using Entries = std::vector<DictionaryEntry>;
  explicit Dictionary(Entries sorted);

  std::shared_ptr<const Entries> entries_;  // null when empty
};

/// One property-list value. Booleans, integers and reals are distinct types, so each is saved as it
/// was read, but they compare equal if they represent the same number.
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
  Value(Integer value)  // a template, so that a pointer does not convert to a boolean
      : storage_(
            static_cast<std::conditional_t<std::is_same_v<Integer, bool>, bool, int64_t>>(value)) {}

  /// Returns the value as a T (bool, int64_t, double, std::string, Date, Data, Array, Dictionary),
  /// nullptr if it has another type. Valid as long as this value.
  template <typename T>
  const T* as() const& {
    return std::get_if<T>(&storage_);
  }
  template <typename T>
  const T* as() const&& = delete;

  /// Calls `visitor` with the stored value; see std::visit.
  template <typename Visitor>
  decltype(auto) visit(Visitor&& visitor) const {
    return std::visit(std::forward<Visitor>(visitor), storage_);
  }

  /// Returns true for a number other than 0 and for a string whose first character, after spaces, a
  /// sign and zeros, is Y, y, T, t or a digit from 1 to 9. False for every other value.
  bool boolValue() const;
  /// Returns a number without its fraction, and of a string the leading integer. 0 for every other
  /// type and for a number that does not fit into 64 bits.
  int64_t integerValue() const;

  /// Returns true if both are the same number, or have the same type and equal contents.
  friend bool operator==(const Value& a, const Value& b);

 private:
  std::variant<bool, int64_t, double, std::string, Date, Data, Array, Dictionary> storage_;
};

/// A key of a dictionary with its value.
struct DictionaryEntry {
  std::string key;
  Value value;

  bool operator==(const DictionaryEntry&) const = default;
};

/// Collects changes to a dictionary and applies them at once.
class DictionaryBuilder {
 public:
  DictionaryBuilder() = default;
  explicit DictionaryBuilder(const Dictionary& base);

  /// Sets the value for `key`, replacing an earlier one.
  void set(std::string key, Value value);
  /// Removes `key` if it is there.
  void remove(std::string_view key);
  /// Allocates memory for this number of entries.
  void reserve(size_t count) { entries_.reserve(count); }

  /// Returns the finished dictionary and empties the builder.
  Dictionary build();

 private:
  std::vector<DictionaryEntry> entries_;
};

}  // namespace revwarden
