#pragma once

#include <cstdint>

namespace revwarden {

/// What an update job is at, in detail.
enum class JobAction : int64_t {
  made = 0,
  starting = 1,
  noConnection = 2,  // the download failed
  handedToBrowser = 3,
  downloading = 4,
  downloaded = 5,
  unpacking = 6,
  mounting = 7,
  searching = 8,  // for the new application among what was downloaded
  copying = 9,    // the old application is in the Trash
  done = 10,
  failed = 12,
};

/// The same as the rest of the system sees it, in the record of the application.
enum class SimpleAction : int64_t {
  idle = 0,
  starting = 1,
  downloading = 2,
  installing = 3,
  done = 4,
  failed = 5,  // or cancelled
};

/// `idle` for a value that is no action. A finished download counts as done until its installation
/// begins.
SimpleAction simpleAction(JobAction action);

}  // namespace revwarden
