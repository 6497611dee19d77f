#pragma once

#include <vector>

#include "base/value.h"

namespace revwarden {

class KQRWAgent;
class KQRWAppUpdater;

/// Receives the events of the catalogue, of background passes and of the install queue.
///
/// Main thread, except where a method says otherwise. A method may call the agent. It must not
/// throw and should return soon, because passes and jobs wait for it. Records are immutable
/// snapshots (record_keys.h).
class KQRWAgentDelegate {
 public:
  virtual ~KQRWAgentDelegate() = default;

  /// Records changed: validation added, changed or removed at least one, or a check received a
  /// response (even if no record changed). Sent before `agentDidFinishValidateItem` in a list
  /// refresh. Intentional: sent after it in a validation pass.
  virtual void itemsDidChangeInAgent(KQRWAgent& agent) = 0;

  /// A list refresh or a validation pass starts; `updateIsInProgress` is already true. Sent on the
  /// thread that requested the pass, before the request returns. The first one is lost: the agent
  /// starts a refresh when it is created, before it has a delegate.
  virtual void agentDidStartValidateItem(KQRWAgent& agent) = 0;

  /// A list refresh or a validation pass ended. `updateIsInProgress` is already false and the next
  /// check is scheduled.
  virtual void agentDidFinishValidateItem(KQRWAgent& agent) = 0;

  /// A list refresh ended. Follows `agentDidFinishValidateItem` directly, even if nothing changed.
  virtual void agentDidFinishUpdatingApplicationList(KQRWAgent& agent) = 0;

  /// Records were starred, moved to or from the black list, queued, or removed from the queue.
  /// `items` has them after the change; it may be empty. A change of star or black list is already
  /// saved; its event is sent on its caller's thread. Intentional: the event of a request to start
  /// updates has the records as they were queued, with "isInQueue" true even for jobs that have
  /// already ended.
  virtual void agent_didChangeStatusForItems(KQRWAgent& agent,
                                             const std::vector<Dictionary>& items) = 0;

  /// The install queue is about to start its first job. Sent before `agent_didStartUpdateItem` of
  /// that job, and before `agent_didChangeStatusForItems` of the request.
  virtual void didStartQueueInAgent(KQRWAgent& agent) = 0;

  /// The install queue is empty: its last job ended, or a failed download emptied it.
  virtual void didStopQueueInAgent(KQRWAgent& agent) = 0;

  /// A job starts. `item` is its record with the new "currentAction", which the catalogue has only
  /// after this event.
  virtual void agent_didStartUpdateItem(KQRWAgent& agent, const Dictionary& item) = 0;

  /// A job ended, with or without success. `item` is its record as the catalogue has it, with
  /// "isInQueue" false. Follows `agent_didChangeStatusForItems` of the same record and precedes the
  /// start of the next job. Not sent for the jobs of a queue that a failed download emptied, for
  /// waiting jobs that were cancelled, or if the record no longer exists. Sent twice if the job
  /// reports its end twice.
  virtual void agent_didStopUpdateItem(KQRWAgent& agent, const Dictionary& item) = 0;

  /// The step or progress of a job changed, at most 25 times a second for progress. `item` is its
  /// record as the catalogue has it, with the new "currentAction", "totalBytes", "receivedBytes",
  /// "downloadPath" and "resourcePath". May arrive after the end of the job.
  virtual void agent_didChangeUpdatedStatusForItem(KQRWAgent& agent, const Dictionary& item) = 0;

  /// The user wants to see the available updates. The agent sends this only to the host's object
  /// that shows the Revwarden window (`HostAppProxy`), not to its delegate.
  virtual void openRevwarden() = 0;
};

/// Receives the events of one update job. Main thread. The install queue implements it.
class KQRWAppInstallerDelegate {
 public:
  virtual ~KQRWAppInstallerDelegate() = default;

  /// `start` was called; the step of the job is `starting`. Sent before `start` returns.
  virtual void appInstallerDidStart(KQRWAppUpdater& job) = 0;

  /// The job ended; `successfully` is false if it failed or was cancelled. `start` and `cancel` may
  /// send it before they return. Intentional: some jobs send it twice, and the receiver handles
  /// both.
  virtual void appInstaller_didFinishSuccessfully(KQRWAppUpdater& job, bool successfully) = 0;

  /// The download failed and the user was notified; the receiver empties the queue. Sent instead of
  /// `appInstaller_didFinishSuccessfully`. The download thread waits until this returns.
  virtual void appInstallerFailedAndStoppedQueue(KQRWAppUpdater& job) = 0;

  /// The step or progress of the job changed. Posted to the main thread: read the current values
  /// from the job, which may be newer than this event. It may arrive after the end of the job.
  virtual void appInstallerDidUpdateStatus(KQRWAppUpdater& job) = 0;
};

}  // namespace revwarden
