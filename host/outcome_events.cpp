#include "host/outcome_events.h"

#include "host/event_log.h"
#include "host/json_values.h"
#include "protocol/names.h"

namespace revwarden {
namespace {

const char* nameOf(JobOutcome::Kind kind) {
  switch (kind) {
    case JobOutcome::Kind::updated:
      return outcome::kUpdated;
    case JobOutcome::Kind::packageRun:
      return outcome::kPackageRun;
    case JobOutcome::Kind::handedOver:
      return outcome::kHandedOver;
    case JobOutcome::Kind::failed:
      return outcome::kFailed;
    case JobOutcome::Kind::cancelled:
      return outcome::kCancelled;
    case JobOutcome::Kind::dropped:
      return outcome::kDropped;
    case JobOutcome::Kind::refused:
      break;
  }
  return outcome::kRefused;
}

const char* nameOf(CheckOutcome::Kind kind) {
  switch (kind) {
    case CheckOutcome::Kind::answered:
      return outcome::kAnswered;
    case CheckOutcome::Kind::unreachable:
      return outcome::kUnreachable;
    case CheckOutcome::Kind::invalid:
      return outcome::kInvalid;
    case CheckOutcome::Kind::notNeeded:
      break;
  }
  return outcome::kNotNeeded;
}

}  // namespace

void OutcomeEvents::jobEnded(const JobOutcome& job) {
  events_.append(events::kJobEnded,
                 jsonList({jsonObject({{outcome::kId, jsonText(job.id)},
                                       {outcome::kName, jsonText(job.name)},
                                       {outcome::kPath, jsonText(job.path)},
                                       {outcome::kFrom, jsonTextOrNull(job.from)},
                                       {outcome::kTo, jsonTextOrNull(job.to)},
                                       {outcome::kOutcome, jsonText(nameOf(job.kind))},
                                       {outcome::kCode, jsonTextOrNull(job.code)},
                                       {outcome::kReason, jsonTextOrNull(job.reason)},
                                       {outcome::kTrashed, jsonTextOrNull(job.trashed)},
                                       {outcome::kStarted, jsonTextOrNull(job.started)},
                                       {outcome::kEnded, jsonText(job.ended)}})}));
}

void OutcomeEvents::checkEnded(const CheckOutcome& check) {
  if (check.kind != CheckOutcome::Kind::notNeeded) lastCheck_ = check.ended;
  if (check.kind == CheckOutcome::Kind::answered) lastAnswered_ = check.ended;
  events_.append(events::kCheckEnded,
                 jsonList({jsonObject({{outcome::kStarted, jsonText(check.started)},
                                       {outcome::kEnded, jsonText(check.ended)},
                                       {outcome::kAsked, jsonText(check.asked)},
                                       {outcome::kAnswered, jsonText(check.answered)},
                                       {outcome::kOutcome, jsonText(nameOf(check.kind))},
                                       {outcome::kReason, jsonTextOrNull(check.reason)},
                                       {outcome::kStatus, jsonTextOrNull(check.status)},
                                       {outcome::kByUser, jsonText(check.byUser)}})}));
}

}  // namespace revwarden
