#include "host/delegate_events.h"

#include "host/event_log.h"
#include "host/json_values.h"
#include "protocol/names.h"

namespace revwarden {

void DelegateEvents::itemsDidChangeInAgent(KQRWAgent&) {
  events_.append(events::kItemsDidChange, "[]");
}

void DelegateEvents::agentDidStartValidateItem(KQRWAgent&) {
  events_.append(events::kDidStartValidateItem, "[]");
}

void DelegateEvents::agentDidFinishValidateItem(KQRWAgent&) {
  events_.append(events::kDidFinishValidateItem, "[]");
}

void DelegateEvents::agentDidFinishUpdatingApplicationList(KQRWAgent&) {
  events_.append(events::kDidFinishUpdatingList, "[]");
}

void DelegateEvents::agent_didChangeStatusForItems(KQRWAgent&,
                                                   const std::vector<Dictionary>& items) {
  events_.append(events::kDidChangeStatus, '[' + jsonList(items) + ']');
}

void DelegateEvents::didStartQueueInAgent(KQRWAgent&) {
  events_.append(events::kDidStartQueue, "[]");
}

void DelegateEvents::didStopQueueInAgent(KQRWAgent&) {
  events_.append(events::kDidStopQueue, "[]");
}

void DelegateEvents::agent_didStartUpdateItem(KQRWAgent&, const Dictionary& item) {
  events_.append(events::kDidStartUpdate, '[' + jsonText(item) + ']');
}

void DelegateEvents::agent_didStopUpdateItem(KQRWAgent&, const Dictionary& item) {
  events_.append(events::kDidStopUpdate, '[' + jsonText(item) + ']');
}

void DelegateEvents::agent_didChangeUpdatedStatusForItem(KQRWAgent&, const Dictionary& item) {
  events_.append(events::kDidChangeUpdate, '[' + jsonText(item) + ']');
}

void DelegateEvents::openRevwarden() {
  events_.append(events::kOpenRevwarden, "[]");
}

}  // namespace revwarden
