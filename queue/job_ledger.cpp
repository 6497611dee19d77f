#include "queue/job_ledger.h"

#include <algorithm>
#include <utility>

#include "catalogue/installed_version.h"
#include "catalogue/record_keys.h"
#include "platform/clock.h"
#include "platform/platform.h"
#include "updater/kqrw_app_updater.h"

namespace revwarden {
namespace {

// Replaces line breaks and other control characters by spaces. A message may contain the output of
// a script.
std::string oneLine(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = ' ';
  }
  return text;
}

}  // namespace

void JobLedger::open(const Job& job, const Dictionary& item) {
  JobOutcome outcome;
  outcome.id = item.textFor(kKQRWIDKey).value_or("");
  outcome.name = item.textFor(kKQRWApplicationNameKey).value_or("");
  outcome.path = item.textFor(kKQRWApplicationPathKey).value_or("");
  const std::lock_guard lock(mutex_);
  if (agentEnds_) {
    complete(outcome, endedWithAgent(std::nullopt));
    platform_.outcomes.jobEnded(outcome);
  } else {
    entries_.push_back({job, std::move(outcome)});
  }
}

// Main thread. Needs no lock, because only the main thread changes the list.
JobLedger::Entry* JobLedger::find(const KQRWAppUpdater& job) {
  const auto found =
      std::ranges::find_if(entries_, [&](const Entry& one) { return one.job.get() == &job; });
  return found == entries_.end() ? nullptr : &*found;
}

void JobLedger::didStart(const KQRWAppUpdater& job) {
  Entry* const entry = find(job);
  if (!entry || entry->outcome.started) return;
  const std::optional<std::string> version = installedVersion(platform_, entry->outcome.path);
  const std::lock_guard lock(mutex_);
  entry->outcome.from = version;
  entry->outcome.started = platform_.clock.now();
}

bool JobLedger::isStarted(const KQRWAppUpdater& job) {
  const Entry* const entry = find(job);
  return entry && entry->outcome.started;
}

// Reads the disk, so the main thread calls it without the lock.
void JobLedger::complete(JobOutcome& outcome, const JobVerdict& verdict) const {
  outcome.to = installedVersion(platform_, outcome.path);
  if (!outcome.started) outcome.from = outcome.to;
  outcome.kind = verdict.kind;
  if (verdict.error) {
    outcome.code = verdict.error->code;
    outcome.reason = oneLine(verdict.error->message);
  }
  outcome.trashed = verdict.trashed;
  outcome.ended = platform_.clock.now();
}

void JobLedger::close(const KQRWAppUpdater& job, const JobVerdict& verdict) {
  const Entry* const entry = find(job);
  if (!entry) return;
  JobOutcome outcome = entry->outcome;
  complete(outcome, verdict);
  const Job kept = entry->job;  // may be the last reference: released after the lock
  const std::lock_guard lock(mutex_);
  std::erase_if(entries_, [&](const Entry& one) { return one.job == kept; });
  if (!agentEnds_) platform_.outcomes.jobEnded(outcome);
}

void JobLedger::withdraw(const KQRWAppUpdater& job) {
  const std::lock_guard lock(mutex_);
  std::erase_if(entries_, [&](const Entry& one) { return one.job.get() == &job; });
}

void JobLedger::closeAllAsAgentEnds() {
  const std::lock_guard lock(mutex_);
  if (std::exchange(agentEnds_, true)) return;
  for (const Entry& entry : entries_) {
    JobOutcome outcome = entry.outcome;
    const bool isStarted = outcome.started.has_value();
    complete(outcome,
             endedWithAgent(isStarted ? std::optional(entry.job->result()) : std::nullopt));
    platform_.outcomes.jobEnded(outcome);
  }
}

std::vector<std::string> JobLedger::openIDs() const {
  std::vector<std::string> ids;
  const std::lock_guard lock(mutex_);
  for (const Entry& entry : entries_) ids.push_back(entry.outcome.id);
  return ids;
}

}  // namespace revwarden
