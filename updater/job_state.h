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

/// What an update job takes from the record of its application. Immutable.
struct JobItem {
  explicit JobItem(const Dictionary& record);

  const std::optional<std::string> targetDownloadUrl;  // absent if the link forms no URL
  const std::optional<std::string> applicationName;
  const std::optional<std::string> applicationPath;
  const std::optional<std::string> applicationBundleId;
  const std::optional<std::string> originalAppItemID;
  const std::string updateMethod;
};

/// The state of one update job: written by its steps, read by the install queue. Any thread.
struct JobState {
  std::atomic<JobAction> currentAction = JobAction::made;
  std::atomic<bool> stopAction = false;  // cancelled: every later step checks it

  Guarded<std::optional<std::string>> downloadPath;   // the downloaded file
  Guarded<std::optional<std::string>> resourcesPath;  // where the installation takes its files from

  std::atomic<bool> downloadDidStart = false;  // the first response was judged
  std::atomic<bool> downloadCanceled = false;  // ends the download thread at its next turn
  std::atomic<int64_t> totalBytes = 0;         // 0 before the response, -1 if unknown
  std::atomic<int64_t> receivedBytes = 0;

  std::atomic<bool> installRunning = false;

  /// Set before the job starts. Without one, files are replaced with the rights of this process.
  std::shared_ptr<KQHelperTask> rootTask;

  Guarded<JobResult> result;
  /// Says why nothing was done. The first explanation counts; none after `conclude`.
  void explain(std::string code, std::string message);
  /// Says what was done. `note` replaces every explanation.
  void conclude(JobResult::Done done, Error note = {});
};

}  // namespace revwarden
