#include "cli/update_jobs.h"

#include <algorithm>
#include <map>

#include "catalogue/record_keys.h"
#include "cli/text_output.h"
#include "protocol/names.h"

namespace revwarden {
namespace {

using State = UpdateJob::State;

// Applications of the same name also get their paths.
void labelJobs(std::vector<UpdateJob>& jobs, const std::vector<Json>& records) {
  std::map<std::string, int> uses;
  for (const Json& record : records) ++uses[displayName(record)];
  for (size_t i = 0; i < jobs.size(); ++i) {
    std::string& label = jobs[i].label = displayName(records[i]);
    if (uses[label] == 1) continue;
    label += " (" + cleaned(recordText(records[i], kKQRWApplicationPathKey)) + ")";
  }
}

// The words for an outcome that a reason may follow.
struct OutcomeWords {
  const char* outcome;
  const char* words;
};
constexpr OutcomeWords kOutcomeWords[] = {
    {outcome::kPackageRun, "package run"},
    {outcome::kHandedOver, "to be finished by you"},
    {outcome::kRefused, "not started"},
};

std::string wordsFor(const Json& outcome) {
  for (const OutcomeWords& known : kOutcomeWords) {
    if (outcomeIs(outcome, known.outcome)) return known.words;
  }
  return cleaned(recordText(outcome, outcome::kOutcome));
}

std::string installedText(const Json& outcome) {
  const std::string from = cleaned(recordText(outcome, outcome::kFrom));
  const std::string to = cleaned(recordText(outcome, outcome::kTo));
  const bool isRun = outcomeIs(outcome, outcome::kPackageRun);
  if (!to.empty() && from == to) {
    return std::string(isRun ? "package run" : "replaced") + ", but the version is still " + to;
  }
  if (isRun && to.empty()) return "package run";
  return "updated" + (from.empty() ? "" : " from " + from) + (to.empty() ? "" : " to " + to);
}

}  // namespace

UpdateJobs::UpdateJobs(const std::vector<Json>& records) : jobs_(records.size()) {
  for (size_t i = 0; i < records.size(); ++i) jobs_[i].id = recordText(records[i], kKQRWIDKey);
  labelJobs(jobs_, records);
}

void UpdateJobs::hear(const AgentEvent& event) {
  const Json& about = event.parameter(0);
  if (!about.is_object()) return;
  if (event.method == events::kDidStartUpdate) didProgress(about, true);
  if (event.method == events::kDidChangeUpdate) didProgress(about, false);
  if (event.method == events::kJobEnded) didEnd(about);
}

UpdateJob* UpdateJobs::jobOf(const std::string& id) {
  const auto found = std::ranges::find(jobs_, id, &UpdateJob::id);
  return found == jobs_.end() ? nullptr : &*found;
}

// Events about progress may come after the job has ended.
void UpdateJobs::didProgress(const Json& record, bool starts) {
  UpdateJob* const job = jobOf(recordText(record, kKQRWIDKey));
  if (!job || job->hasEnded()) return;
  job->state = State::running;
  job->received = starts ? 0 : recordNumber(record, kKQRWInstallerReceivedBytesKey);
  job->total = starts ? 0 : recordNumber(record, kKQRWInstallerTotalBytesKey);
  const SimpleAction action = actionOf(record);
  // Between download and installation the record is marked as done for a moment.
  if (action != SimpleAction::done) job->action = starts ? SimpleAction::starting : action;
}

void UpdateJobs::didEnd(const Json& outcome) {
  UpdateJob* const job = jobOf(recordText(outcome, outcome::kId));
  if (!job || job->hasEnded()) return;
  job->state = State::waiting;
  if (requestReturned_ && --job->open > 0) return;  // of a cancelled job before this one
  job->outcome = outcome;
  if (requestReturned_) job->state = State::ended;
}

void UpdateJobs::requestReturned(const Json& openJobs) {
  requestReturned_ = true;
  for (UpdateJob& job : jobs_) {
    job.open = std::count(openJobs.begin(), openJobs.end(), Json(job.id));
    if (job.open > 0) {
      job.outcome = nullptr;
    } else {
      job.state = State::ended;
    }
  }
}

void UpdateJobs::agentEnded() {
  for (UpdateJob& job : jobs_) {
    if (!job.hasEnded()) job.state = State::lost;
  }
}

bool UpdateJobs::allEnded() const {
  return std::ranges::all_of(jobs_, &UpdateJob::hasEnded);
}

bool outcomeIs(const Json& outcome, const char* text) {
  return recordText(outcome, outcome::kOutcome) == text;
}

std::string stepText(const UpdateJob& job) {
  if (job.state == State::waiting) return "in queue";
  if (job.hasEnded()) return job.outcome.is_object() ? wordsFor(job.outcome) : "unknown";
  return job.action == SimpleAction::downloading  ? "downloading"
         : job.action == SimpleAction::installing ? "installing"
         : job.action == SimpleAction::failed     ? "failed"
                                                  : "starting";
}

UpdateResult resultOf(const Json& outcome) {
  if (outcomeIs(outcome, outcome::kUpdated) || outcomeIs(outcome, outcome::kPackageRun)) {
    return {true, installedText(outcome)};
  }
  const std::string reason = cleaned(recordText(outcome, outcome::kReason));
  if (outcomeIs(outcome, outcome::kHandedOver)) {
    return {true, wordsFor(outcome) + " (" + reason + ")"};
  }
  if (outcomeIs(outcome, outcome::kCancelled)) return {false, wordsFor(outcome)};
  return {false, wordsFor(outcome) + ": " + reason};
}

UpdateResult resultOf(const UpdateJob& job) {
  if (job.state == State::lost) return {false, "not finished when the agent ended"};
  if (!job.outcome.is_object()) return {false, "no longer in the catalogue"};
  return resultOf(job.outcome);
}

}  // namespace revwarden
