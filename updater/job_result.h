#pragma once

#include <optional>
#include <string>

#include "base/result.h"
#include "platform/outcomes.h"

namespace revwarden {

/// What an update job has done so far, recorded by its steps for its outcome.
struct JobResult {
  enum class Done { nothing, replaced, packageRun, handedOver };

  Done done = Done::nothing;
  /// Why nothing was done, or what was handed over; its code is empty while neither is known.
  Error note;
  std::optional<std::string> trashed;  // where the old application is in the Trash
  std::optional<Error> httpError;      // the response had a status of 400 or more
};

/// The part of a job's outcome that the job decides.
struct JobVerdict {
  JobOutcome::Kind kind = JobOutcome::Kind::failed;
  std::optional<Error> error;  // absent only for `updated` and `packageRun`
  std::optional<std::string> trashed;
};

/// Judges by what is on disk: a job that was cancelled after it had replaced the application has
/// updated it.
JobVerdict verdictOf(const JobResult& result, bool cancelled);

/// The verdicts of jobs that never started or did not get to their end.
JobVerdict cancelledByUser();
JobVerdict droppedFromQueue(const std::string& failedApplication);
JobVerdict endedWithAgent(bool started);

}  // namespace revwarden
