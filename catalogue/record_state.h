#pragma once

#include "base/value.h"
#include "catalogue/record_keys.h"

namespace revwarden {

/// Whether the update service still owes an answer: the record holds none, or was never stamped as
/// checked. A record that was answered at its first check has no stamp and stays so.
inline bool wasNeverChecked(const Dictionary& record) {
  return !record.contains(kKQRWAvailableVersionInfoKey) || !record.dateFor(kKQRWLastFullCheckDate);
}

}  // namespace revwarden
