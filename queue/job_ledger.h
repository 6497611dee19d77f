#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/value.h"
#include "platform/outcomes.h"
#include "updater/job_result.h"

namespace revwarden {

class KQRWAppUpdater;
struct Platform;

/// Keeps the requests for updates that have no outcome yet, and reports one outcome for each to the
/// platform's `OutcomeReceiver`, even if a job reports its end twice. Main thread unless an
/// operation says otherwise.
class JobLedger {
 public:
  using Job = std::shared_ptr<KQRWAppUpdater>;

  explicit JobLedger(const Platform& platform) : platform_(platform) {}

  /// Adds the request that this job was made for. `item` is its record.
  void open(const Job& job, const Dictionary& item);
  /// Removes the request without an outcome, because it joined another one for the same record.
  void withdraw(const KQRWAppUpdater& job);

  /// Records the start time and the installed version, the first time a job starts.
  void didStart(const KQRWAppUpdater& job);
  /// Returns true if the job has started and has no outcome yet.
  bool isStarted(const KQRWAppUpdater& job);

  /// Reports the outcome of a job. Does nothing if it was reported before.
  void close(const KQRWAppUpdater& job, const JobVerdict& verdict);

  /// Reports every request without an outcome as ended with the agent. Nothing is reported
  /// afterwards. Any thread.
  void closeAllAsAgentEnds();

  /// Returns the ids of the records whose request has no outcome yet. Any thread.
  std::vector<std::string> openIDs() const;

 private:
  struct Entry {
    Job job;  // kept until the outcome is known
    JobOutcome outcome;
  };

  void complete(JobOutcome& outcome, const JobVerdict& verdict) const;
  Entry* find(const KQRWAppUpdater& job);

  const Platform& platform_;
  mutable std::mutex mutex_;  // guards the members below; held while an outcome is reported
  std::vector<Entry> entries_;
  bool agentEnds_ = false;
};

}  // namespace revwarden
