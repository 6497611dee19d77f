#pragma once

#include <string>

#include "cli/update_jobs.h"

// What the user reads about an update: a word while it goes on, a sentence when it is over.
namespace revwarden {

/// "in queue", "starting", "downloading", "installing", "done", "failed", "cancelled",
/// "interrupted", "left out" or "ended".
std::string stepText(const UpdateJob& job);

/// How a job came out.
struct UpdateResult {
  bool good = false;
  std::string text;  // clean, without the application's name
};

/// The result of a job that has ended, or never will as the agent is gone. The agent's word counts
/// whether it succeeded, even where nothing was installed: then the text says what was done
/// instead. `recordNow` is the application's record of afterwards, null when there is none.
UpdateResult resultOf(const UpdateJob& job, const Json& recordNow);

/// Whether another version is installed now than before.
bool versionChanged(const UpdateJob& job, const Json& recordNow);

}  // namespace revwarden
