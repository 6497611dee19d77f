#pragma once

#include <optional>
#include <string_view>

#include "base/value.h"

namespace revwarden {

/// The stored settings of the application that loaded the plug-in: property-list dictionaries by
/// key. Any thread; calls are served one after another.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// The dictionary that was set for `key` and is not written yet, else the one that storage holds
  /// now; absent when there is none, when the value is no dictionary or when storage cannot be
  /// read.
  virtual std::optional<Dictionary> dictionaryForKey(std::string_view key) = 0;

  /// Puts `dictionary` in the place of the value for `key`; the values of all other keys stay. It
  /// reaches storage with the next `synchronize`.
  virtual void setDictionary(const Dictionary& dictionary, std::string_view key) = 0;

  /// Writes what was set to storage and returns when it is safe there: whatever happens, storage
  /// holds either all of the old settings or all of the new. False when it could not be written;
  /// the values set are then kept and written by the next call. Storage that is there but once
  /// could not be read is never written again by this process: what it holds would be lost.
  virtual bool synchronize() = 0;
};

}  // namespace revwarden
