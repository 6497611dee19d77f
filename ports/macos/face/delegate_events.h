#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#include "catalogue/kqrw_agent_delegate.h"
#import "ports/macos/face/kqrw_protocols.h"
#import "ports/macos/platform/exception_guard.h"
#import "ports/macos/platform/retained.h"

namespace revwarden {

/// Sends the agent's events to an Objective-C delegate. Retains it, which is safe because it is a
/// weak proxy. Must not outlive `agent`.
class DelegateEvents final : public KQRWAgentDelegate {
 public:
  DelegateEvents(::KQRWAgent* agent, id<KQRWAgentDelegate> delegate)
      : agent_(agent), delegate_(KQRWGuarded(delegate)) {}

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
  id<KQRWAgentDelegate> delegate() const { return delegate_.get(); }

  ::KQRWAgent* const agent_;
  const Retained delegate_;
};

}  // namespace revwarden
