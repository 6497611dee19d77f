#include "cli/update_results.h"

#include "catalogue/record_keys.h"
#include "catalogue/version_info_keys.h"
#include "cli/text_output.h"

namespace revwarden {
namespace {

using End = UpdateJob::End;

std::string versionOf(const Json& record) {
  return record.is_object() ? cleaned(recordText(record, kKQRWCurrentVersionKey)) : "";
}

std::string withReason(const std::string& words, const UpdateJob& job) {
  return job.reason.empty() ? words : words + ": " + cleaned(job.reason);
}

UpdateResult manualResult(const UpdateJob& job) {
  const std::string page = cleaned(job.offered(kKQRWIDownloadLinkKey));
  if (page.empty()) return {false, "to be updated by hand, and the offer names no page"};
  if (!job.opened)
    return {true, "to be updated by hand; its page was handed to the browser: " + page};
  if (job.opened->done) return {true, "to be updated by hand; its page was opened: " + page};
  return {false, "to be updated by hand, but its page could not be opened: " + page};
}

UpdateResult openedResult(const UpdateJob::Deed& opened) {
  const std::string what = cleaned(opened.what);
  if (!opened.done) return {false, "not installed, and this could not be opened: " + what};
  if (what.rfind("file:", 0) == 0)
    return {true, "its installer was opened, to be finished there: " + what};
  return {true, "not installed; the download is a page, which was opened: " + what};
}

// The agent says that it succeeded.
UpdateResult succeededResult(const UpdateJob& job, const Json& recordNow) {
  if (job.isManual()) return manualResult(job);
  if (job.mountedAt && job.mountedAt->empty()) {
    return {true, "downloaded, but the image could not be mounted"};
  }
  if (job.mountedAt) {
    return {true, "mounted, to be installed by hand: " + cleaned(*job.mountedAt)};
  }
  if (job.revealed) {
    const std::string file = cleaned(job.revealed->what);
    return {true, job.revealed->done ? "downloaded and shown in the file viewer: " + file
                                     : "downloaded: " + file};
  }
  if (job.opened) return openedResult(*job.opened);
  const std::string version = versionOf(recordNow);
  if (version.empty()) return {true, "done; which version is installed now is not known"};
  return {true, "done, but version " + version + " is installed as before"};
}

UpdateResult plainResult(const UpdateJob& job, const Json& recordNow) {
  switch (job.end) {
    case End::succeeded:
      return succeededResult(job, recordNow);
    case End::failed:
      if (job.reason.empty() && job.offered(kKQRWIDownloadLinkKey).empty()) {
        return {false, "failed: the offer names no download"};
      }
      if (job.reason.empty() && job.opened) return openedResult(*job.opened);
      return {false, withReason("failed", job)};
    case End::cancelled:
      return {false, "cancelled"};
    case End::interrupted:
      return {false, "dropped, because another job's download failed"};
    case End::leftOut:
      return {false, withReason("left out", job)};
    case End::unheard:
      break;
  }
  return {false, "over, and the agent did not say how"};
}

}  // namespace

std::string stepText(const UpdateJob& job) {
  switch (job.phase) {
    case UpdateJob::Phase::asked:
    case UpdateJob::Phase::inQueue:
      return "in queue";
    case UpdateJob::Phase::running:
    case UpdateJob::Phase::stopped:
      return job.action == SimpleAction::downloading  ? "downloading"
             : job.action == SimpleAction::installing ? "installing"
             : job.action == SimpleAction::failed     ? "failed"
                                                      : "starting";
    case UpdateJob::Phase::ended:
      break;
  }
  switch (job.end) {
    case End::succeeded:
      return "done";
    case End::failed:
      return "failed";
    case End::cancelled:
      return "cancelled";
    case End::interrupted:
      return "interrupted";
    case End::leftOut:
      return "left out";
    case End::unheard:
      break;
  }
  return "ended";
}

bool versionChanged(const UpdateJob& job, const Json& recordNow) {
  const std::string version = versionOf(recordNow);
  return !version.empty() && version != versionOf(job.record);
}

UpdateResult resultOf(const UpdateJob& job, const Json& recordNow) {
  if (!job.hasEnded()) return {false, "not over when the agent ended"};
  const bool mayHaveInstalled = job.end == End::succeeded || job.end == End::unheard;
  UpdateResult result = mayHaveInstalled && versionChanged(job, recordNow)
                            ? UpdateResult{true, "updated from " + versionOf(job.record) + " to " +
                                                     versionOf(recordNow)}
                            : plainResult(job, recordNow);
  if (job.wasQueued) result.text += " (it was in the queue already)";
  return result;
}

}  // namespace revwarden
