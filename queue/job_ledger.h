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

/// The requests for updates whose outcome is still to come. Reports each to the platform's receiver
/// exactly once, however often a job reports its end. Main thread unless an operation says
/// otherwise.
class JobLedger {
 public:
  using Job = std::shared_ptr<KQRWAppUpdater>;

  explicit JobLedger(const Platform& platform) : platform_(platform) {}

  /// Opens a request that became a job.
  void open(const Job& job, const Dictionary& item);

  /// Notes the time and the version that is installed, unless the job was started before.
  void didStart(const KQRWAppUpdater& job);
  bool isStarted(const KQRWAppUpdater& job);

  /// Reports the outcome of a job, unless that was reported before.
  void close(const KQRWAppUpdater& job, const JobVerdict& verdict);

  /// Reports the outcome of a request that never became a job.
  void refuse(const Dictionary& item, const Error& error) const;

  /// Reports every open request as ended with the agent. Any thread; nothing is reported later.
  void closeAllAsAgentEnds();

  /// The ids of the records whose request is open. Any thread.
  std::vector<std::string> openIDs() const;

 private:
  struct Entry {
    Job job;  // kept until the outcome is known
    JobOutcome outcome;
  };

  static JobOutcome outcomeFor(const Dictionary& item);
  void complete(JobOutcome& outcome, const JobVerdict& verdict) const;
  Entry* find(const KQRWAppUpdater& job);

  const Platform& platform_;
  mutable std::mutex mutex_;  // of what follows, and held while an outcome is reported
  std::vector<Entry> entries_;
  bool agentEnds_ = false;
};

}  // namespace revwarden
