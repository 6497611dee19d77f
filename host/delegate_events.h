#pragma once

#include "catalogue/kqrw_agent_delegate.h"

namespace revwarden {

class EventLog;

/// The agent's delegate in this process: each of its events becomes one of the log, under the
/// selector's name and without the agent.
class DelegateEvents final : public KQRWAgentDelegate {
 public:
  explicit DelegateEvents(EventLog& events) : events_(events) {}

  void itemsDidChangeInAgent(KQRWAgent& agent) override;
  void agentDidStartValidateItem(KQRWAgent& agent) override;
  void agentDidFinishValidateItem(KQRWAgent& agent) override;
  void agentDidFinishUpdatingApplicationList(KQRWAgent& agent) override;
  void agent_didChangeStatusForItems(KQRWAgent& agent,
                                     const std::vector<Dictionary>& items) override;
  void didStartQueueInAgent(KQRWAgent& agent) override;
  void didStopQueueInAgent(KQRWAgent& agent) override;
  void agent_didStartUpdateItem(KQRWAgent& agent, const Dictionary& item) override;
  void agent_didStopUpdateItem(KQRWAgent& agent, const Dictionary& item) override;
  void agent_didChangeUpdatedStatusForItem(KQRWAgent& agent, const Dictionary& item) override;
  void openRevwarden() override;

 private:
  EventLog& events_;
};

}  // namespace revwarden
