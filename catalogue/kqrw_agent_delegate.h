#pragma once

#include <vector>

#include "base/value.h"

namespace revwarden {

class KQRWAgent;
class KQRWAppUpdater;

/// Hears what happens to the catalogue, to background passes and to the install queue.
///
/// Events arrive on the main thread, except that `agentDidStartValidateItem` comes on the thread
/// that starts a pass, and the event of a star or of the black list on its caller's. Records in an
/// event are snapshots. Every method returns soon and does not throw.
class KQRWAgentDelegate {
 public:
  virtual ~KQRWAgentDelegate() = default;

  virtual void itemsDidChangeInAgent(KQRWAgent& agent) = 0;
  virtual void agentDidStartValidateItem(KQRWAgent& agent) = 0;
  virtual void agentDidFinishValidateItem(KQRWAgent& agent) = 0;
  virtual void agentDidFinishUpdatingApplicationList(KQRWAgent& agent) = 0;
  virtual void agent_didChangeStatusForItems(KQRWAgent& agent,
                                             const std::vector<Dictionary>& items) = 0;
  virtual void didStartQueueInAgent(KQRWAgent& agent) = 0;
  virtual void didStopQueueInAgent(KQRWAgent& agent) = 0;
  virtual void agent_didStartUpdateItem(KQRWAgent& agent, const Dictionary& item) = 0;
  virtual void agent_didStopUpdateItem(KQRWAgent& agent, const Dictionary& item) = 0;
  virtual void agent_didChangeUpdatedStatusForItem(KQRWAgent& agent, const Dictionary& item) = 0;
  virtual void openRevwarden() = 0;
};

/// Hears of the events of one update job. Main thread.
class KQRWAppInstallerDelegate {
 public:
  virtual ~KQRWAppInstallerDelegate() = default;

  virtual void appInstallerDidStart(KQRWAppUpdater& job) = 0;
  virtual void appInstaller_didFinishSuccessfully(KQRWAppUpdater& job, bool successfully) = 0;
  virtual void appInstallerFailedAndStoppedQueue(KQRWAppUpdater& job) = 0;
  virtual void appInstallerDidUpdateStatus(KQRWAppUpdater& job) = 0;
};

}  // namespace revwarden
