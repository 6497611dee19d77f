#include "cli/update_jobs.h"

#include <algorithm>
#include <map>

#include "base/text.h"
#include "catalogue/record_keys.h"
#include "catalogue/version_info_keys.h"
#include "cli/text_output.h"

namespace revwarden {
namespace {

using Phase = UpdateJob::Phase;
using End = UpdateJob::End;

constexpr char kSucceeded[] = "%@ was updated from %@ to %@ version successfully.";
constexpr char kFailedLine[] = "Update of %@ from %@ to %@ version was failed.";
constexpr char kInterruptedLine[] = "!!!!! QUEUE INTERRUPTED !!!!!!";
constexpr char kPackageFailed[] = "Update package from %@ failed with error %@.";
constexpr char kMounted[] =
    "[RWInstaller] Install method requires to mount image (path=%@) and finish install.";
constexpr char kWarningIcon[] = "DraggingViewWarningIcon";
constexpr char kAbsent[] = "(null)";

// Namesakes get their paths.
void labelJobs(std::vector<UpdateJob>& jobs) {
  std::map<std::string, int> uses;
  for (const UpdateJob& job : jobs) ++uses[displayName(job.record)];
  for (UpdateJob& job : jobs) {
    job.label = displayName(job.record);
    if (uses[job.label] > 1) {
      job.label += " (" + cleaned(recordText(job.record, kKQRWApplicationPathKey)) + ")";
    }
  }
}

void setIfEmpty(std::string& reason, const std::string& text) {
  if (reason.empty()) reason = text;
}

std::string argument(const AgentEvent& line, size_t index) {
  const Json& arguments = line.parameter(3);
  if (!arguments.is_array() || index >= arguments.size() || !arguments[index].is_string())
    return {};
  return arguments[index].get<std::string>();
}

void endWith(UpdateJob& job, End end) {
  job.phase = Phase::ended;
  job.end = end;
}

bool isInQueue(const UpdateJob& job) {
  return job.phase == Phase::inQueue || job.phase == Phase::running;
}

}  // namespace

std::string UpdateJob::offered(const char* key) const {
  const auto offer = record.find(kKQRWAvailableVersionInfoKey);
  if (offer == record.end() || !offer->is_object()) return {};
  return std::string(trimmingSpacesAndLineBreaks(recordText(*offer, key)));
}

bool UpdateJob::isManual() const {
  return offered(kKQRWIUpdateMethodKey) == "manual";
}

UpdateJobs::UpdateJobs(const std::vector<Json>& records) {
  for (const Json& record : records) {
    UpdateJob job;
    job.id = recordText(record, kKQRWIDKey);
    job.record = record;
    job.wasQueued = recordFlag(record, kKQRWInstallerIsInQueueKey);
    if (job.wasQueued) job.phase = Phase::inQueue;
    jobs_.push_back(std::move(job));
  }
  labelJobs(jobs_);
}

void UpdateJobs::hear(const AgentEvent& event) {
  const std::string& method = event.method;
  if (method == "agent:didStartUpdateItem:") {
    didStart(event.parameter(0));
  } else if (method == "agent:didChangeUpdatedStatusForItem:") {
    didProgress(event.parameter(0));
  } else if (method == "agent:didStopUpdateItem:") {
    didStop(event.parameter(0));
  } else if (method == "agent:didChangeStatusForItems:") {
    didChangeStatus(event.parameter(0));
  } else if (method == "didStopQueueInAgent:") {
    queueIsEmpty();
  } else if (method == "log") {
    didLog(event);
  } else if (method == "showNotification:") {
    didShowNotice(event.parameter(0));
  } else if (method == "openURL:") {
    didOpen(event.text(0), event.parameter(1) == true);
  } else if (method == "rootTaskWithPrompt:") {
    rightsRefused_ = rightsRefused_ || event.parameter(1) != true;
  } else if (UpdateJob* const job = running()) {
    if (method == "rootTask") setIfEmpty(job->reason, event.text(2));
    if (method == "selectFile:inFileViewerRootedAtPath:") {
      job->revealed = {event.text(0), event.parameter(2) == true};
    }
  }
}

void UpdateJobs::requestReturned() {
  for (UpdateJob& job : jobs_) {
    const bool queued = lastChanged_.count(job.id) > 0;
    if (job.phase == Phase::asked && !queued) {
      endWith(job, End::leftOut);
      if (rightsRefused_) job.reason = "it needs administrator rights, which were refused";
    } else if (job.phase == Phase::asked || (queued && job.wasQueued && job.hasEnded())) {
      // The latter: somebody else's job for it was over before this request's was queued.
      job.phase = Phase::inQueue;
      job.judged = false;
    }
  }
}

void UpdateJobs::queueIsEmpty() {
  interrupting_ = false;
  for (UpdateJob& job : jobs_) {
    if (isInQueue(job)) endWith(job, End::unheard);
  }
}

bool UpdateJobs::allEnded() const {
  return std::all_of(jobs_.begin(), jobs_.end(),
                     [](const UpdateJob& job) { return job.hasEnded(); });
}

UpdateJob* UpdateJobs::jobOf(const Json& record) {
  return record.is_object() ? jobOf(recordText(record, kKQRWIDKey)) : nullptr;
}

UpdateJob* UpdateJobs::jobOf(const std::string& id) {
  const auto found =
      std::find_if(jobs_.begin(), jobs_.end(), [&](const UpdateJob& job) { return job.id == id; });
  return found == jobs_.end() ? nullptr : &*found;
}

UpdateJob* UpdateJobs::running() {
  const auto found = std::find_if(jobs_.begin(), jobs_.end(),
                                  [](const UpdateJob& job) { return job.phase == Phase::running; });
  return found == jobs_.end() ? nullptr : &*found;
}

// A start counts whatever was believed before: an earlier job's second end can look like this
// one's.
void UpdateJobs::didStart(const Json& record) {
  UpdateJob* const job = jobOf(record);
  UpdateJob* const before = running();
  if (before && before != job) endWith(*before, End::unheard);
  if (!job) return;
  job->phase = Phase::running;
  job->action = SimpleAction::starting;
  job->received = job->total = 0;
  job->judged = false;
  job->reason.clear();
  job->opened.reset();
  job->revealed.reset();
  job->mountedAt.reset();
}

// Progress is told late: the last words about a job may come after its end.
void UpdateJobs::didProgress(const Json& record) {
  UpdateJob* const job = jobOf(record);
  if (!job) return;
  if (job->phase == Phase::inQueue && job->wasQueued) job->phase = Phase::running;
  if (job->phase != Phase::running) return;
  job->received = recordNumber(record, kKQRWInstallerReceivedBytesKey);
  job->total = recordNumber(record, kKQRWInstallerTotalBytesKey);
  const SimpleAction action = actionOf(record);
  // Between download and installation it reads as done for a moment.
  if (action != SimpleAction::done) job->action = action;
}

void UpdateJobs::didStop(const Json& record) {
  if (!record.is_object()) return;
  stops_.push_back(recordText(record, kKQRWIDKey));
  UpdateJob* const job = jobOf(record);
  if (job && job->phase != Phase::asked && !job->judged) job->phase = Phase::stopped;
}

void UpdateJobs::didLog(const AgentEvent& line) {
  const std::string format = line.text(2);
  if (line.parameter(0) == "NSLog" && format == kInterruptedLine) interrupting_ = true;
  if (format == kSucceeded) didJudge(line, End::succeeded);
  if (format == kFailedLine) didJudge(line, End::failed);
  UpdateJob* const job = running();
  if (job && format == kPackageFailed) setIfEmpty(job->reason, argument(line, 1));
  if (job && format == kMounted) {
    const std::string path = argument(line, 0);
    job->mountedAt = path == kAbsent ? "" : path;
  }
}

void UpdateJobs::didJudge(const AgentEvent& line, End end) {
  // Of a job without a record, whose stop was not told either.
  const bool isNameless = argument(line, 0) == kAbsent && argument(line, 1) == kAbsent;
  if (stops_.empty() || isNameless) return;
  UpdateJob* const job = jobOf(stops_.back());
  stops_.pop_back();
  if (!job || job->phase != Phase::stopped) return;
  endWith(*job, end);
  job->judged = true;
}

void UpdateJobs::didChangeStatus(const Json& records) {
  lastChanged_.clear();
  if (!records.is_array()) return;
  for (const Json& record : records) {
    UpdateJob* const job = jobOf(record);
    if (!job) continue;
    lastChanged_.insert(job->id);
    if (!recordFlag(record, kKQRWInstallerIsInQueueKey)) didLeaveQueue(*job);
  }
}

void UpdateJobs::didLeaveQueue(UpdateJob& job) {
  if (interrupting_ && isInQueue(job)) {
    endWith(job, job.action == SimpleAction::failed ? End::failed : End::interrupted);
  } else if (job.phase == Phase::inQueue) {
    endWith(job, End::cancelled);
  } else if (job.judged && job.end == End::failed) {
    // A cancelled job fails like any other, and the list of what was cancelled follows.
    job.end = End::cancelled;
  }
}

void UpdateJobs::didShowNotice(const Json& notice) {
  if (!notice.is_object() || recordText(notice, "icon") != kWarningIcon) return;
  if (UpdateJob* const job = running()) setIfEmpty(job->reason, recordText(notice, "text"));
}

void UpdateJobs::didOpen(const std::string& address, bool opened) {
  const auto page = std::find_if(jobs_.begin(), jobs_.end(), [&](const UpdateJob& job) {
    return job.isManual() && job.phase != Phase::asked && !job.opened &&
           job.offered(kKQRWIDownloadLinkKey) == address;
  });
  UpdateJob* const job = page == jobs_.end() ? running() : &*page;
  if (job) job->opened = {address, opened};
}

}  // namespace revwarden
