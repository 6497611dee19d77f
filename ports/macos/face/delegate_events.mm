#import "ports/macos/face/delegate_events.h"

#import "ports/macos/platform/foundation_values.h"

namespace revwarden {

void DelegateEvents::itemsDidChangeInAgent(KQRWAgent&) {
  const AutoreleasePool pool;
  [delegate() itemsDidChangeInAgent:agent_];
}

void DelegateEvents::agentDidStartValidateItem(KQRWAgent&) {
  const AutoreleasePool pool;
  [delegate() agentDidStartValidateItem:agent_];
}

void DelegateEvents::agentDidFinishValidateItem(KQRWAgent&) {
  const AutoreleasePool pool;
  [delegate() agentDidFinishValidateItem:agent_];
}

void DelegateEvents::agentDidFinishUpdatingApplicationList(KQRWAgent&) {
  const AutoreleasePool pool;
  [delegate() agentDidFinishUpdatingApplicationList:agent_];
}

void DelegateEvents::agent_didChangeStatusForItems(KQRWAgent&,
                                                   const std::vector<Dictionary>& items) {
  const AutoreleasePool pool;
  [delegate() agent:agent_ didChangeStatusForItems:foundationArray(items)];
}

void DelegateEvents::didStartQueueInAgent(KQRWAgent&) {
  const AutoreleasePool pool;
  [delegate() didStartQueueInAgent:agent_];
}

void DelegateEvents::didStopQueueInAgent(KQRWAgent&) {
  const AutoreleasePool pool;
  [delegate() didStopQueueInAgent:agent_];
}

void DelegateEvents::agent_didStartUpdateItem(KQRWAgent&, const Dictionary& item) {
  const AutoreleasePool pool;
  [delegate() agent:agent_ didStartUpdateItem:foundationDictionary(item)];
}

void DelegateEvents::agent_didStopUpdateItem(KQRWAgent&, const Dictionary& item) {
  const AutoreleasePool pool;
  [delegate() agent:agent_ didStopUpdateItem:foundationDictionary(item)];
}

void DelegateEvents::agent_didChangeUpdatedStatusForItem(KQRWAgent&, const Dictionary& item) {
  const AutoreleasePool pool;
  [delegate() agent:agent_ didChangeUpdatedStatusForItem:foundationDictionary(item)];
}

void DelegateEvents::openRevwarden() {
  const AutoreleasePool pool;
  [delegate() openRevwarden];
}

}  // namespace revwarden
