#include <set>

#include "catalogue/record_keys.h"
#include "cli/commands.h"
#include "cli/records.h"
#include "cli/waiting_line.h"

// A rescan is asked for by a request that a pass under way makes the agent drop without a word.
//
// Passes never overlap, and on the one stream of replies and events each shows as "did start", then
// "did finish validate". So: once no pass runs, ask for the rescan; when no start came before the
// reply, another pass was faster and the rescan was dropped. When one came it may still have been
// another's, but only the rescan forgets the date of the last check. Ours has ended with the next
// "did finish validate" and the "did finish updating list" after it; such a list event before that
// is the late last word of the pass before.
namespace revwarden {
namespace {

constexpr char kDidStart[] = "agentDidStartValidateItem:";
constexpr char kDidFinish[] = "agentDidFinishValidateItem:";
constexpr char kDidFinishList[] = "agentDidFinishUpdatingApplicationList:";

// What the service did during the rescan, as far as events tell.
struct ServiceOutcome {
  std::string error;  // clean; empty when it answered

  void note(const AgentEvent& event) {
    const Json& params = event.params;
    if (event.method == "updateService" && params.is_array() && params.size() >= 4) {
      noteExchange(params);
    } else if (event.method == "log" && event.parameter(2) == "Invalid response: %@") {
      error = "its answer cannot be understood";
    }
  }

 private:
  void noteExchange(const Json& params) {
    if (params[3].is_string()) {
      error = cleaned(params[3].get<std::string>());
    } else if (params[1].is_number_integer() && params[1].get<int64_t>() >= 400) {
      error = "HTTP status " + params[1].dump();
    }
    if (!error.empty() && params[0].is_string()) {
      error = cleaned(params[0].get<std::string>()) + ": " + error;
    }
  }
};

class Rescan {
 public:
  explicit Rescan(AgentSession& agent) : agent_(agent) {}

  /// Waits for a pass under way, rescans and waits for the end; false when it has been said why
  /// that cannot be.
  bool run() {
    for (;;) {
      const auto running = agent_.call("updateIsInProgress");
      if (!running) return false;
      if (*running == true) {
        agent_.connection().takeEvents();
        if (!waitFor(kDidFinish, "Waiting for the pass under way")) return false;
        continue;
      }
      const auto started = start();
      if (!started) return false;
      if (*started) break;
    }
    return waitFor(kDidFinish, "Looking for updates") &&
           waitFor(kDidFinishList, "Looking for updates");
  }

  const ServiceOutcome& outcome() const { return outcome_; }

 private:
  // Whether it was our request that started the pass now under way.
  std::optional<bool> start() {
    const auto before = agent_.call("lastFireDate");
    agent_.connection().takeEvents();
    if (!before || !agent_.call("startFullRescan")) return std::nullopt;
    bool sawStart = false;
    for (const AgentEvent& event : agent_.connection().takeEvents()) {
      if (event.method == kDidStart) {
        sawStart = true;
        outcome_ = {};
      }
      outcome_.note(event);
    }
    const auto after = agent_.call("lastFireDate");
    if (!after) return std::nullopt;
    return sawStart && (after->is_null() || *after != *before);
  }

  bool waitFor(const char* method, const std::string& why) {
    for (AgentEvent event;;) {
      switch (agent_.connection().nextEvent(event, std::chrono::milliseconds(250))) {
        case AgentConnection::Wait::timedOut:
          progress_.show(why);
          continue;
        case AgentConnection::Wait::event:
          outcome_.note(event);
          if (event.method != method) continue;
          progress_.clear();
          return true;
        case AgentConnection::Wait::ended:
          progress_.clear();
          complain("The agent ended before the check did.");
          return false;
        case AgentConnection::Wait::broken:
          progress_.clear();
          complain("The agent is not understood: " + agent_.connection().brokenText() + ".");
          return false;
      }
    }
  }

  AgentSession& agent_;
  WaitingLine progress_;
  ServiceOutcome outcome_;
};

// What was on offer before: an update is new when its application or its version was not.
std::set<std::pair<std::string, std::string>> updatesAmong(const std::vector<Json>& records,
                                                           const Versions& versions) {
  std::set<std::pair<std::string, std::string>> updates;
  for (const Json& record : records) {
    if (hasNewerVersion(record, versions)) {
      updates.emplace(recordText(record, kKQRWIDKey), offeredVersion(record));
    }
  }
  return updates;
}

std::string countText(size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

void printUpdates(const CommandContext& context, std::vector<Json> updates,
                  const std::set<std::string>& newIds) {
  sortByName(updates);
  TextTable table({"", "NAME", "INSTALLED", "AVAILABLE"});
  for (const Json& record : updates) {
    const bool isNew = newIds.count(recordText(record, kKQRWIDKey)) > 0;
    std::optional<Terminal::Style> style;
    if (isNew) style = Terminal::Style::green;
    table.addRow(
        {isNew ? "new" : "", displayName(record),
         cleaned(recordText(record, kKQRWCurrentVersionKey)), cleaned(offeredVersion(record))},
        style);
  }
  print(countText(updates.size(), "update", "updates") + " on offer, " +
        std::to_string(newIds.size()) + " new since the last look:\n" +
        table.text(context.terminal));
}

}  // namespace

int runCheck(CommandContext& context) {
  const auto before = context.agent.records();
  if (!before) return kFailed;
  Rescan rescan(context.agent);
  if (!rescan.run()) return kFailed;
  auto records = context.agent.records();
  if (!records) return kFailed;

  const auto known = updatesAmong(*before, context.versions);
  std::vector<Json> updates;
  std::set<std::string> newIds;
  for (const Json& record : *records) {
    if (!isOutdated(record, context.versions)) continue;
    const std::string id = recordText(record, kKQRWIDKey);
    if (known.count({id, offeredVersion(record)}) == 0) newIds.insert(id);
    updates.push_back(record);
  }
  const ServiceOutcome& outcome = rescan.outcome();
  if (context.json) {
    print(jsonText({{"updates", updates},
                    {"new", newIds},
                    {"error", outcome.error.empty() ? Json() : Json(outcome.error)}}) +
          "\n");
  } else if (records->empty()) {
    explainNoApplications(context.agent);
  } else if (!updates.empty()) {
    printUpdates(context, std::move(updates), newIds);
  } else if (outcome.error.empty()) {
    print("Nothing newer is on offer for " +
          countText(records->size(), "application", "applications") + ".\n");
  }
  if (outcome.error.empty()) return kOk;
  complain("The update service gave no answer (" + outcome.error + ").");
  return kFailed;
}

}  // namespace revwarden
