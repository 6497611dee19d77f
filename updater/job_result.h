#pragma once

#include <optional>
#include <string>

#include "base/result.h"
#include "platform/outcomes.h"

namespace revwarden {

/// What an update job has done so far. Its steps record it; its verdict is derived from it.
struct JobResult {
  enum class Done { nothing, replaced, packageRun, handedOver };

  Done done = Done::nothing;
  /// Why nothing was done, or what was handed over. The code is empty as long as it is unknown.
  Error note;
  std::optional<std::string> trashed;  // path of the old application in the Trash
  std::optional<Error> httpError;      // the response had a status of 400 or more
  /// The machine was changed although nothing was done: the old application is in the Trash, or a
  /// package ran in part.
  bool leftTraces = false;
};

/// The part of a job's outcome (`JobOutcome`) that the job determines.
struct JobVerdict {
  JobOutcome::Kind kind = JobOutcome::Kind::failed;
  std::optional<Error> error;  // absent only for `updated` and `packageRun`
  std::optional<std::string> trashed;
};

/// Returns the verdict for a job that has ended. It says what is on disk: a job that replaced the
/// application before it was cancelled is `updated`, one that failed to is `failed`.
JobVerdict verdictOf(const JobResult& result, bool cancelled);

/// Returns the verdict for a job that was cancelled before it started.
JobVerdict cancelledByUser();
/// Returns the verdict for a job that was waiting when the download for this application failed.
JobVerdict droppedFromQueue(const std::string& failedApplication);
/// Returns the verdict for a job that had not ended when the agent ended. `result` is absent if it
/// had not started.
JobVerdict endedWithAgent(const std::optional<JobResult>& result);

}  // namespace revwarden
