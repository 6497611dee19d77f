#pragma once

#include <algorithm>
#include <mutex>

#include "catalogue/kqrw_agent_delegate.h"
#include "platform/run_loop.h"

namespace revwarden {

/// A delegate that keeps every event with the thread it came on and the records it carried.
struct EventRecorder final : KQRWAgentDelegate {
  struct Event {
    std::string name;
    bool onMain;
    std::vector<Dictionary> items;
  };

  explicit EventRecorder(const RunLoop& runLoop) : loop(runLoop) {}

  void itemsDidChangeInAgent(KQRWAgent&) override { add("change"); }
  void agentDidStartValidateItem(KQRWAgent&) override { add("start"); }
  void agentDidFinishValidateItem(KQRWAgent&) override { add("finish"); }
  void agentDidFinishUpdatingApplicationList(KQRWAgent&) override { add("list"); }
  void agent_didChangeStatusForItems(KQRWAgent&, const std::vector<Dictionary>& items) override {
    add("status", items);
  }
  void didStartQueueInAgent(KQRWAgent&) override { add("queue start"); }
  void didStopQueueInAgent(KQRWAgent&) override { add("queue stop"); }
  void agent_didStartUpdateItem(KQRWAgent&, const Dictionary& item) override {
    add("job start", {item});
  }
  void agent_didStopUpdateItem(KQRWAgent&, const Dictionary& item) override {
    add("job stop", {item});
  }
  void agent_didChangeUpdatedStatusForItem(KQRWAgent&, const Dictionary& item) override {
    add("job status", {item});
  }
  void openRevwarden() override { add("open"); }

  void add(std::string name, std::vector<Dictionary> items = {}) {
    if (onEvent) onEvent(name, items);
    const std::lock_guard lock(mutex);
    events.push_back({std::move(name), loop.isMainThread(), std::move(items)});
  }
  /// The names of the events so far, which are then forgotten.
  std::string takeNames() {
    const std::lock_guard lock(mutex);
    std::string names;
    for (const Event& event : events) names += (names.empty() ? "" : " ") + event.name;
    events.clear();
    return names;
  }
  size_t count(const std::string& name) {
    const std::lock_guard lock(mutex);
    return static_cast<size_t>(std::count_if(events.begin(), events.end(),
                                             [&](const Event& e) { return e.name == name; }));
  }

  const RunLoop& loop;
  // Set it while no pass runs.
  std::function<void(const std::string&, const std::vector<Dictionary>&)> onEvent;
  std::mutex mutex;
  std::vector<Event> events;
};

}  // namespace revwarden
