#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/value.h"

namespace revwarden {

/// The outcome of one request to update an application. It says what is on disk, even where the
/// agent's log line and update counter differ.
struct JobOutcome {
  enum class Kind {
    updated,     // the application at the path was replaced
    packageRun,  // the helper ran the package
    handedOver,  // the user has to finish it
    failed,
    cancelled,
    dropped,  // was waiting when the download of another job failed or the agent ended
    refused,  // did not become a job because administrator rights were missing
  };

  // From the application's record at the time of the request.
  std::string id;
  std::string name;
  std::string path;
  /// The version of the bundle at `path` before and after the job; absent if it has none.
  std::optional<std::string> from;
  std::optional<std::string> to;
  Kind kind = Kind::failed;
  /// A stable identifier, and one line for the user. Absent only for `updated` and `packageRun`.
  std::optional<std::string> code;
  std::optional<std::string> reason;
  /// The path of the old application in the Trash; absent if it was not moved there or the port
  /// does not know the path.
  std::optional<std::string> trashed;
  std::optional<Date> started;  // absent if the job never started
  Date ended;
};

/// The outcome of one list refresh and of the update check in it.
struct CheckOutcome {
  enum class Kind {
    answered,
    unreachable,  // no complete response arrived
    invalid,      // the response was not an answer
    notNeeded,    // the refresh found no reason for a check
  };

  Date started;  // start of the refresh
  Date ended;
  int64_t asked = 0;     // number of applications in the request
  int64_t answered = 0;  // number of these that got an answer
  Kind kind = Kind::notNeeded;
  std::optional<std::string> reason;  // one line for the user; for `unreachable` and `invalid`
  std::optional<int> status;          // HTTP status; absent if there was no response
  bool byUser = false;                // requested with `startFullRescan`
};

/// Receives outcomes: exactly one for each request for an update and for each list refresh.
class OutcomeReceiver {
 public:
  virtual ~OutcomeReceiver() = default;

  /// Receives the outcome of a request for an update. Any thread. The caller holds a lock of the
  /// agent, so this must not call the agent.
  virtual void jobEnded(const JobOutcome& outcome) = 0;

  /// Receives the outcome of a list refresh, directly after the delegate received
  /// `agentDidFinishUpdatingApplicationList`. Main thread.
  virtual void checkEnded(const CheckOutcome& outcome) = 0;
};

}  // namespace revwarden
