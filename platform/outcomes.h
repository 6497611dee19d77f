#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/value.h"

namespace revwarden {

/// What became of one request to update an application. Says what is on disk, also where the
/// agent's log line and its count of updates say otherwise.
struct JobOutcome {
  enum class Kind {
    updated,     // the application at the path was replaced
    packageRun,  // the helper ran the package
    handedOver,  // the user has to finish it
    failed,
    cancelled,
    dropped,  // waiting, when the download of another job failed or the agent ended
    refused,  // never became a job: no administrator rights
  };

  // The record of the application, when it was queued.
  std::string id;
  std::string name;
  std::string path;
  /// Versions read from the bundle, before and after; absent when it has none.
  std::optional<std::string> from;
  std::optional<std::string> to;
  Kind kind = Kind::failed;
  /// A stable identifier and one line for a person; absent only for `updated` and `packageRun`.
  std::optional<std::string> code;
  std::optional<std::string> reason;
  /// Where in the Trash the old application is; only for `updated`, if the port knows it.
  std::optional<std::string> trashed;
  std::optional<Date> started;  // absent for a job that never started
  Date ended;
};

/// What became of one refresh of the list and of the check inside it.
struct CheckOutcome {
  enum class Kind {
    answered,
    unreachable,  // no whole response
    invalid,      // the response was no answer
    notNeeded,    // the refresh decided against a check
  };

  Date started;  // when the refresh began
  Date ended;
  int64_t asked = 0;     // applications in the request
  int64_t answered = 0;  // of those, how many the answer names
  Kind kind = Kind::notNeeded;
  std::optional<std::string> reason;  // one line for a person; for `unreachable` and `invalid`
  std::optional<int> status;          // HTTP status; absent without an exchange
  bool byUser = false;                // asked for by `startFullRescan`
};

/// Receives outcomes. Each request for an update and each refresh ends in exactly one.
class OutcomeReceiver {
 public:
  virtual ~OutcomeReceiver() = default;

  /// Any thread. Called with an internal lock held: must not call the agent.
  virtual void jobEnded(const JobOutcome& outcome) = 0;

  /// Main thread, directly after `agentDidFinishUpdatingApplicationList:`.
  virtual void checkEnded(const CheckOutcome& outcome) = 0;
};

}  // namespace revwarden
