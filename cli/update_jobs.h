#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/connection.h"
#include "cli/records.h"

namespace revwarden {

/// One update that the user asked for, as far as the agent's events tell.
struct UpdateJob {
  enum class Phase {
    asked,    // the request is under way
    inQueue,  // waiting; or running since before anybody listened
    running,
    stopped,  // over; the agent's word whether it succeeded is still to come
    ended,
  };
  enum class End {
    succeeded,
    failed,
    cancelled,
    interrupted,  // dropped from the queue, because another job's download failed
    leftOut,      // never queued
    unheard,      // over without a word: its record went away meanwhile
  };
  /// An address or path, and whether the desktop took it.
  struct Deed {
    std::string what;
    bool done = false;
  };

  std::string id;
  Json record;             // as it was when the update was asked for
  std::string label;       // clean; different for each job
  bool wasQueued = false;  // before the user asked

  Phase phase = Phase::asked;
  End end = End::unheard;                    // once it has ended
  SimpleAction action = SimpleAction::idle;  // while it runs
  int64_t received = 0;
  int64_t total = 0;    // below 1: not known
  bool judged = false;  // the agent has told its end

  // From outside, to be cleaned before it is printed.
  std::string reason;                    // why it failed or was left out; empty when nobody told
  std::optional<Deed> opened;            // an address or file that was handed to the desktop
  std::optional<Deed> revealed;          // a file that was shown
  std::optional<std::string> mountedAt;  // where an image was left for the user; "" for nowhere

  /// The offer's field, trimmed; "" without one.
  std::string offered(const char* key) const;
  /// Whether it only has a page opened. The desktop's answer may then come after its end.
  bool isManual() const;
  bool hasEnded() const { return phase == Phase::ended; }
};

/// The jobs of one request to install updates, followed through the agent's events. A passive
/// object: it is told every event since the records were read, in order.
///
/// A job is over with the agent's log line that says whether it succeeded. That line carries no
/// identity, and it is the last thing the agent does about a job: whatever the end of one job sets
/// going, up to the end of the next, is told before it. So the lines belong to the stops before
/// them as closing brackets belong to opening ones. A job that is dropped from the queue has
/// neither: it is over with a change of its status alone.
class UpdateJobs {
 public:
  /// The records of what was asked for, as they were before.
  explicit UpdateJobs(const std::vector<Json>& records);

  void hear(const AgentEvent& event);

  /// The request to queue them has returned, and all events before its reply were told.
  void requestReturned();

  /// The install queue is known to be empty.
  void queueIsEmpty();

  bool allEnded() const;
  const std::vector<UpdateJob>& jobs() const { return jobs_; }

 private:
  UpdateJob* jobOf(const std::string& id);
  UpdateJob* jobOf(const Json& record);
  UpdateJob* running();
  void didStart(const Json& record);
  void didProgress(const Json& record);
  void didStop(const Json& record);
  void didLog(const AgentEvent& line);
  void didJudge(const AgentEvent& line, UpdateJob::End end);
  void didChangeStatus(const Json& records);
  void didLeaveQueue(UpdateJob& job);
  void didShowNotice(const Json& notice);
  void didOpen(const std::string& address, bool opened);

  std::vector<UpdateJob> jobs_;
  std::vector<std::string> stops_;     // ids of the stopped jobs, anybody's, without a log line yet
  std::set<std::string> lastChanged_;  // ids of the last change of status
  bool interrupting_ = false;          // the queue is being dropped
  bool rightsRefused_ = false;
};

}  // namespace revwarden
