#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/guarded.h"
#include "base/value.h"
#include "catalogue/job_action.h"
#include "updater/job_result.h"

namespace revwarden {

class KQHelperTask;

/// The values that an update job takes from the record of its application. Immutable.
struct JobItem {
  explicit JobItem(const Dictionary& record);

  const std::optional<std::string> targetDownloadUrl;  // absent if there is no link or it is no URL
  const std::optional<std::string> applicationName;
  const std::optional<std::string> applicationPath;
  const std::optional<std::string> applicationBundleId;
  const std::optional<std::string> originalAppItemID;
  const std::string updateMethod;  // "auto" if the record has none
};

/// The state of an update job. Its steps write it, the install queue reads it. Any thread.
struct JobState {
  std::atomic<JobAction> currentAction = JobAction::made;
  std::atomic<bool> stopAction = false;  // the job is cancelled; each later step checks this

  Guarded<std::optional<std::string>> downloadPath;   // the downloaded file
  Guarded<std::optional<std::string>> resourcesPath;  // the files that the installation uses

  std::atomic<bool> downloadDidStart = false;  // the first response has arrived
  std::atomic<bool> downloadCanceled = false;  // ends the download thread after its current turn
  std::atomic<int64_t> totalBytes = 0;         // 0 before the response, -1 if unknown
  std::atomic<int64_t> receivedBytes = 0;

  std::atomic<bool> installRunning = false;  // `performInstall` is running

  /// Set before the job starts. If nullptr, files are replaced with the rights of this process.
  std::shared_ptr<KQHelperTask> rootTask;

  Guarded<JobResult> result;
  /// Records why nothing was done. Only the first call has an effect, and none after `conclude`.
  void explain(std::string code, std::string message);
  /// Records what was done. `note` replaces an explanation.
  void conclude(JobResult::Done done, Error note = {});
};

}  // namespace revwarden
