#pragma once

#include <optional>
#include <string_view>

#include "base/value.h"

namespace revwarden {

/// The stored settings of the application that loaded the plug-in: one dictionary for each key. Any
/// thread; calls are serialised.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// Returns the dictionary that was set for `key` and is not written yet, else the stored one.
  /// Absent if there is none, if the value is not a dictionary, or if storage cannot be read.
  virtual std::optional<Dictionary> dictionaryForKey(std::string_view key) = 0;

  /// Replaces the value for `key` and keeps the values of all other keys. The next `synchronize`
  /// writes it to storage.
  virtual void setDictionary(const Dictionary& dictionary, std::string_view key) = 0;

  /// Writes all values that were set to storage and returns when they are safe there. At any moment
  /// storage holds either all old or all new settings. Returns false if they could not be written;
  /// the next call then writes them. If existing storage could not be read once, this process never
  /// writes it, because that would destroy its contents.
  virtual bool synchronize() = 0;
};

}  // namespace revwarden
