#include "base/value.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace revwarden {
namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;

bool keyIsLess(const DictionaryEntry& a, const DictionaryEntry& b) {
  return a.key < b.key;
}

// Compares without a conversion to double, which would round integers beyond 2^53.
bool equalNumbers(int64_t integer, double real) {
  return real >= -kTwoTo63 && real < kTwoTo63 && static_cast<int64_t>(real) == integer &&
         std::trunc(real) == real;
}

// Booleans count as 0 and 1.
struct Number {
  bool isReal = false;
  int64_t integer = 0;
  double real = 0;
};

std::optional<Number> numberIn(const Value& value) {
  if (const bool* flag = value.as<bool>()) return Number{.integer = *flag ? 1 : 0};
  if (const int64_t* integer = value.as<int64_t>()) return Number{.integer = *integer};
  if (const double* real = value.as<double>()) return Number{.isReal = true, .real = *real};
  return std::nullopt;
}

bool equalNumbers(const Number& a, const Number& b) {
  if (a.isReal && b.isReal) return a.real == b.real;
  if (a.isReal) return equalNumbers(b.integer, a.real);
  if (b.isReal) return equalNumbers(a.integer, b.real);
  return a.integer == b.integer;
}

std::string_view withoutLeadingSpace(std::string_view text) {
  while (!text.empty() && std::string_view(" \t\n\v\f\r").find(text.front()) != text.npos) {
    text.remove_prefix(1);
  }
  return text;
}

bool readsAsYes(std::string_view text) {
  text = withoutLeadingSpace(text);
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
  while (!text.empty() && text.front() == '0') text.remove_prefix(1);
  return !text.empty() && std::string_view("YyTt123456789").find(text.front()) != text.npos;
}

int64_t leadingInteger(std::string_view text) {
  text = withoutLeadingSpace(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

}  // namespace

Array::Array(std::vector<Value> elements) {
  if (!elements.empty()) {
    elements_ = std::make_shared<const std::vector<Value>>(std::move(elements));
  }
}

size_t Array::size() const {
  return elements_ ? elements_->size() : 0;
}

const Value* Array::begin() const& {
  return elements_ ? elements_->data() : nullptr;
}

const Value* Array::end() const& {
  return elements_ ? elements_->data() + elements_->size() : nullptr;
}

const Value& Array::operator[](size_t index) const& {
  return (*elements_)[index];
}

bool operator==(const Array& a, const Array& b) {
  if (a.elements_ == b.elements_) return true;
  return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

Dictionary::Dictionary(Entries sorted) {
  if (!sorted.empty()) entries_ = std::make_shared<const Entries>(std::move(sorted));
}

Dictionary::Dictionary(std::initializer_list<DictionaryEntry> entries) {
  DictionaryBuilder builder;
  builder.reserve(entries.size());
  for (const DictionaryEntry& entry : entries) builder.set(entry.key, entry.value);
  *this = builder.build();
}

size_t Dictionary::size() const {
  return entries_ ? entries_->size() : 0;
}

const DictionaryEntry* Dictionary::begin() const& {
  return entries_ ? entries_->data() : nullptr;
}

const DictionaryEntry* Dictionary::end() const& {
  return entries_ ? entries_->data() + entries_->size() : nullptr;
}

const Value* Dictionary::find(std::string_view key) const& {
  const DictionaryEntry* found = std::lower_bound(
      begin(), end(), key,
      [](const DictionaryEntry& entry, std::string_view k) { return entry.key < k; });
  return found != end() && found->key == key ? &found->value : nullptr;
}

const std::string* Dictionary::stringFor(std::string_view key) const& {
  const Value* value = find(key);
  return value ? value->as<std::string>() : nullptr;
}

std::optional<std::string> Dictionary::textFor(std::string_view key) const {
  const std::string* text = stringFor(key);
  return text ? std::optional(*text) : std::nullopt;
}

std::optional<Date> Dictionary::dateFor(std::string_view key) const {
  const Value* value = find(key);
  const Date* date = value ? value->as<Date>() : nullptr;
  return date ? std::optional(*date) : std::nullopt;
}

std::optional<Array> Dictionary::arrayFor(std::string_view key) const {
  const Value* value = find(key);
  const Array* array = value ? value->as<Array>() : nullptr;
  return array ? std::optional(*array) : std::nullopt;
}

std::optional<Dictionary> Dictionary::dictionaryFor(std::string_view key) const {
  const Value* value = find(key);
  const Dictionary* dictionary = value ? value->as<Dictionary>() : nullptr;
  return dictionary ? std::optional(*dictionary) : std::nullopt;
}

bool Dictionary::boolFor(std::string_view key) const {
  const Value* value = find(key);
  return value && value->boolValue();
}

int64_t Dictionary::integerFor(std::string_view key) const {
  const Value* value = find(key);
  return value ? value->integerValue() : 0;
}

Dictionary Dictionary::with(std::string_view key, Value value) const {
  Entries entries;
  entries.reserve(size() + 1);
  entries.assign(begin(), end());
  auto place = std::lower_bound(
      entries.begin(), entries.end(), key,
      [](const DictionaryEntry& entry, std::string_view k) { return entry.key < k; });
  if (place != entries.end() && place->key == key) {
    place->value = std::move(value);
  } else {
    entries.insert(place, DictionaryEntry{std::string(key), std::move(value)});
  }
  return Dictionary(std::move(entries));
}

Dictionary Dictionary::without(std::string_view key) const {
  if (!contains(key)) return *this;
  DictionaryBuilder builder(*this);
  builder.remove(key);
  return builder.build();
}

bool operator==(const Dictionary& a, const Dictionary& b) {
  if (a.entries_ == b.entries_) return true;
  return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

bool Value::boolValue() const {
  if (const std::string* text = as<std::string>()) return readsAsYes(*text);
  const std::optional<Number> number = numberIn(*this);
  return number && (number->isReal ? number->real != 0 : number->integer != 0);
}

int64_t Value::integerValue() const {
  if (const std::string* text = as<std::string>()) return leadingInteger(*text);
  const std::optional<Number> number = numberIn(*this);
  if (!number) return 0;
  if (!number->isReal) return number->integer;
  const bool fits = number->real >= -kTwoTo63 && number->real < kTwoTo63;
  return fits ? static_cast<int64_t>(number->real) : 0;
}

bool operator==(const Value& a, const Value& b) {
  const std::optional<Number> left = numberIn(a);
  const std::optional<Number> right = numberIn(b);
  if (left && right) return equalNumbers(*left, *right);
  return a.storage_ == b.storage_;
}

DictionaryBuilder::DictionaryBuilder(const Dictionary& base) {
  // Most changes add one entry; growth by doubling would waste memory.
  entries_.reserve(base.size() + 1);
  entries_.assign(base.begin(), base.end());
}

void DictionaryBuilder::set(std::string key, Value value) {
  entries_.push_back(DictionaryEntry{std::move(key), std::move(value)});
}

void DictionaryBuilder::remove(std::string_view key) {
  std::erase_if(entries_, [key](const DictionaryEntry& entry) { return entry.key == key; });
}

Dictionary DictionaryBuilder::build() {
  if (!std::is_sorted(entries_.begin(), entries_.end(), keyIsLess)) {
    std::stable_sort(entries_.begin(), entries_.end(), keyIsLess);
  }
  // Of equal keys, keep the last one: the sort is stable, so it was set last.
  auto keep = entries_.begin();
  for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
    const auto next = std::next(entry);
    if (next != entries_.end() && next->key == entry->key) continue;
    if (keep != entry) *keep = std::move(*entry);
    ++keep;
  }
  entries_.erase(keep, entries_.end());
  return Dictionary(std::exchange(entries_, {}));
}

}  // namespace revwarden
