#include "updater/job_result.h"

#include <utility>

// Derives the verdict, the job's part of its outcome (platform/outcomes.h), from what the job did.
namespace revwarden {

using Kind = JobOutcome::Kind;
using Done = JobResult::Done;

JobVerdict verdictOf(const JobResult& result, bool cancelled) {
  JobVerdict verdict{Kind::failed, std::nullopt, result.trashed};
  const bool isExplained = !result.note.code.empty();
  if (isExplained) verdict.error = result.note;
  if (result.done == Done::replaced || result.done == Done::packageRun) {
    const Kind done = result.done == Done::replaced ? Kind::updated : Kind::packageRun;
    if (!isExplained) verdict.kind = done;
    return verdict;
  }
  if (result.leftTraces && isExplained) return verdict;
  if (cancelled) {
    verdict.kind = Kind::cancelled;
    verdict.error = cancelledByUser().error;
  } else if (result.httpError) {
    // Whatever was opened or shown to the user was the error page of the server.
    verdict.error = result.httpError;
  } else if (result.done == Done::handedOver) {
    verdict.kind = Kind::handedOver;
  } else if (!isExplained) {
    verdict.error = Error{"nothingInstalled", "the update ended without installing anything"};
  }
  return verdict;
}

JobVerdict cancelledByUser() {
  return {Kind::cancelled, Error{"byUser", "cancelled by the user"}, std::nullopt};
}

JobVerdict droppedFromQueue(const std::string& failedApplication) {
  return {Kind::dropped,
          Error{"queueInterrupted",
                "the download of " + failedApplication + " failed, which emptied the queue"},
          std::nullopt};
}

JobVerdict endedWithAgent(const std::optional<JobResult>& result) {
  if (result && result->done != Done::nothing) return verdictOf(*result, false);
  return {result ? Kind::failed : Kind::dropped, Error{"agentEnding", "the agent ended"},
          result ? result->trashed : std::nullopt};
}

}  // namespace revwarden
