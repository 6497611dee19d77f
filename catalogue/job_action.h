#pragma once

#include <cstdint>

namespace revwarden {

/// The step of an update job in detail.
enum class JobAction : int64_t {
  made = 0,
  starting = 1,
  noConnection = 2,  // the download failed
  handedToBrowser = 3,
  downloading = 4,
  downloaded = 5,
  unpacking = 6,
  mounting = 7,
  searching = 8,  // for the new application in the download
  copying = 9,    // the new application; the old one is in the Trash
  done = 10,
  failed = 12,
};

/// The step of an update job as the application's record has it ("currentAction").
enum class SimpleAction : int64_t {
  idle = 0,
  starting = 1,
  downloading = 2,
  installing = 3,
  done = 4,
  failed = 5,  // or cancelled
};

/// Returns the simple step for a detailed one; `idle` for any other number. Intentional: a finished
/// download counts as done until its installation starts.
SimpleAction simpleAction(JobAction action);

}  // namespace revwarden
