#pragma once

#include <memory>
#include <utility>

#include "catalogue/kqrw_agent_delegate.h"

namespace revwarden {

/// Forwards every event to a delegate without keeping it alive. Drops the events if there is no
/// delegate or it is destroyed. Any thread.
class KQWeakProxy final : public KQRWAgentDelegate {
 public:
  explicit KQWeakProxy(std::weak_ptr<KQRWAgentDelegate> object) : object_(std::move(object)) {}

  void itemsDidChangeInAgent(KQRWAgent& agent) override {
    if (const auto object = object_.lock()) object->itemsDidChangeInAgent(agent);
  }
  void agentDidStartValidateItem(KQRWAgent& agent) override {
    if (const auto object = object_.lock()) object->agentDidStartValidateItem(agent);
  }
  void agentDidFinishValidateItem(KQRWAgent& agent) override {
    if (const auto object = object_.lock()) object->agentDidFinishValidateItem(agent);
  }
  void agentDidFinishUpdatingApplicationList(KQRWAgent& agent) override {
    if (const auto object = object_.lock()) object->agentDidFinishUpdatingApplicationList(agent);
  }
  void agent_didChangeStatusForItems(KQRWAgent& agent,
                                     const std::vector<Dictionary>& items) override {
    if (const auto object = object_.lock()) object->agent_didChangeStatusForItems(agent, items);
  }
  void didStartQueueInAgent(KQRWAgent& agent) override {
    if (const auto object = object_.lock()) object->didStartQueueInAgent(agent);
  }
  void didStopQueueInAgent(KQRWAgent& agent) override {
    if (const auto object = object_.lock()) object->didStopQueueInAgent(agent);
  }
  void agent_didStartUpdateItem(KQRWAgent& agent, const Dictionary& item) override {
    if (const auto object = object_.lock()) object->agent_didStartUpdateItem(agent, item);
  }
  void agent_didStopUpdateItem(KQRWAgent& agent, const Dictionary& item) override {
    if (const auto object = object_.lock()) object->agent_didStopUpdateItem(agent, item);
  }
  void agent_didChangeUpdatedStatusForItem(KQRWAgent& agent, const Dictionary& item) override {
    if (const auto object = object_.lock()) {
      object->agent_didChangeUpdatedStatusForItem(agent, item);
    }
  }
  void openRevwarden() override {
    if (const auto object = object_.lock()) object->openRevwarden();
  }

 private:
  const std::weak_ptr<KQRWAgentDelegate> object_;
};

}  // namespace revwarden
