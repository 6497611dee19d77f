#include "host/delegate_events.h"

#include "host/event_log.h"
#include "host/json_values.h"

namespace revwarden {

void DelegateEvents::itemsDidChangeInAgent(KQRWAgent&) {
  events_.append("itemsDidChangeInAgent:", "[]");
}

void DelegateEvents::agentDidStartValidateItem(KQRWAgent&) {
  events_.append("agentDidStartValidateItem:", "[]");
}

void DelegateEvents::agentDidFinishValidateItem(KQRWAgent&) {
  events_.append("agentDidFinishValidateItem:", "[]");
}

void DelegateEvents::agentDidFinishUpdatingApplicationList(KQRWAgent&) {
  events_.append("agentDidFinishUpdatingApplicationList:", "[]");
}

void DelegateEvents::agent_didChangeStatusForItems(KQRWAgent&,
                                                   const std::vector<Dictionary>& items) {
  events_.append("agent:didChangeStatusForItems:", '[' + jsonList(items) + ']');
}

void DelegateEvents::didStartQueueInAgent(KQRWAgent&) {
  events_.append("didStartQueueInAgent:", "[]");
}

void DelegateEvents::didStopQueueInAgent(KQRWAgent&) {
  events_.append("didStopQueueInAgent:", "[]");
}

void DelegateEvents::agent_didStartUpdateItem(KQRWAgent&, const Dictionary& item) {
  events_.append("agent:didStartUpdateItem:", '[' + jsonText(item) + ']');
}

void DelegateEvents::agent_didStopUpdateItem(KQRWAgent&, const Dictionary& item) {
  events_.append("agent:didStopUpdateItem:", '[' + jsonText(item) + ']');
}

void DelegateEvents::agent_didChangeUpdatedStatusForItem(KQRWAgent&, const Dictionary& item) {
  events_.append("agent:didChangeUpdatedStatusForItem:", '[' + jsonText(item) + ']');
}

void DelegateEvents::openRevwarden() {
  events_.append("openRevwarden", "[]");
}

}  // namespace revwarden
