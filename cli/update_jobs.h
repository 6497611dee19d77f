#pragma once

#include <string>
#include <vector>

#include "cli/connection.h"
#include "cli/records.h"

namespace revwarden {

/// One application for which the user requested an update.
struct UpdateJob {
  enum class State {
    waiting,
    running,
    ended,  // the agent has reported the outcome, or does not know the application
    lost,   // the agent ended first
  };

  std::string id;
  std::string label;  // clean; different for each job

  State state = State::waiting;
  SimpleAction action = SimpleAction::idle;  // while it runs
  int64_t received = 0;
  int64_t total = 0;  // below 1: not known

  /// The object that `host.jobEnded` carries; null until the job has ended, and for an application
  /// that the agent does not know.
  Json outcome;
  int64_t open = 0;  // outcomes for this id that the agent still has to report

  bool hasEnded() const { return state == State::ended || state == State::lost; }
};

/// The jobs of one request to install or cancel updates. A passive object: the caller must pass
/// every event since the request was sent, in order.
class UpdateJobs {
 public:
  explicit UpdateJobs(const std::vector<Json>& records);

  void hear(const AgentEvent& event);

  /// Call after the reply to the request. `openJobs` are the ids in a later reply to `host.status`.
  /// A job that is open ends with its next outcome; any other has ended with the last one.
  void requestReturned(const Json& openJobs);

  /// Marks the jobs that have not ended as lost.
  void agentEnded();

  bool allEnded() const;
  const std::vector<UpdateJob>& jobs() const { return jobs_; }

 private:
  UpdateJob* jobOf(const std::string& id);
  void didProgress(const Json& record, bool starts);
  void didEnd(const Json& outcome);

  std::vector<UpdateJob> jobs_;
  bool requestReturned_ = false;
};

/// Whether a text of the outcome is equal to `text`.
bool outcomeIs(const Json& outcome, const char* text);

/// One or two words: "in queue", "downloading", "installing", "updated", "failed", ...
std::string stepText(const UpdateJob& job);

/// How a job ended, for people.
struct UpdateResult {
  bool good = false;
  std::string text;  // clean, without the application's name
};
UpdateResult resultOf(const Json& outcome);

/// The same for a job that has ended in any way.
UpdateResult resultOf(const UpdateJob& job);

}  // namespace revwarden
