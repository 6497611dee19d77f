#include <chrono>
#include <set>

#include "catalogue/record_keys.h"
#include "cli/commands.h"
#include "cli/progress_display.h"
#include "cli/records.h"
#include "protocol/names.h"

// The command "check": a full rescan, and what the service offers afterwards.
namespace revwarden {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kTurn{250};
constexpr double kClockPrecision = 1e-3;  // s; dates lose some digits on their way

// Requests a full rescan and waits for its outcome.
//
// The agent drops the request without a reply to it if a pass is running. So: wait until no pass
// runs, send the request, and accept the outcome of any full rescan that started after that. If no
// pass runs and there is no such outcome, another pass was faster: send the request again. This
// repeats until the agent answers or ends; other passes are short and rare.
class Rescan {
 public:
  explicit Rescan(AgentSession& agent) : agent_(agent) {}

  /// Returns the outcome; absent after an error, which is printed.
  std::optional<Json> run() {
    if (!awaitOtherPass("Waiting for the running pass")) return std::nullopt;
    requested_ = secondsNow();
    while (outcome_.is_null()) {
      if (!agent_.call(methods::kStartFullRescan)) return std::nullopt;
      if (!awaitOtherPass("Looking for updates")) return std::nullopt;
    }
    return outcome_;
  }

 private:
  // Waits until no pass runs or the outcome is known; false after an error.
  bool awaitOtherPass(const std::string& why) {
    for (;;) {
      const auto running = agent_.call(methods::kUpdateIsInProgress);
      if (!running) return false;
      for (const AgentEvent& event : agent_.connection().takeEvents()) hear(event);
      if (*running != true || !outcome_.is_null()) return true;
      progress_.show(why);
      if (!hearUntil(steady_clock::now() + kTurn)) return false;
      if (!outcome_.is_null()) return true;
    }
  }

  // Returns early with the outcome; false after an error.
  bool hearUntil(steady_clock::time_point deadline) {
    while (outcome_.is_null()) {
      const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now());
      if (left.count() <= 0) return true;
      const auto next = agent_.connection().nextEvent(left);
      if (!next) {
        progress_.clear();
        complain(next.error().message);
        return false;
      }
      if (*next) hear(**next);
    }
    return true;
  }

  void hear(const AgentEvent& event) {
    const Json& check = event.parameter(0);
    if (event.method != events::kCheckEnded || !requested_ || !check.is_object()) return;
    const auto started = secondsOfDate(check.value(outcome::kStarted, Json()));
    if (!recordFlag(check, outcome::kByUser) || !started) return;
    if (*started >= *requested_ - kClockPrecision) outcome_ = check;
  }

  static double secondsNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
  }

  AgentSession& agent_;
  WaitingLine progress_;
  std::optional<double> requested_;  // seconds since 1970
  Json outcome_;
};

// The service's answer is missing; absent if it answered or was not asked.
std::optional<std::string> faultOf(const Json& check) {
  const std::string kind = recordText(check, outcome::kOutcome);
  if (kind != outcome::kUnreachable && kind != outcome::kInvalid) return std::nullopt;
  return cleaned(recordText(check, outcome::kReason));
}

// The updates on offer before the check. An update is new if its application or version is not
// among them.
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
        std::to_string(newIds.size()) + " new since the last check:\n" +
        table.text(context.terminal));
}

}  // namespace

int runCheck(CommandContext& context) {
  const auto before = context.agent.records();
  if (!before) return kFailed;
  const auto check = Rescan(context.agent).run();
  if (!check) return kFailed;
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
  const auto fault = faultOf(*check);
  if (context.json) {
    print(jsonText({{"updates", updates},
                    {"new", newIds},
                    {"error", fault ? Json(*fault) : Json()},
                    {"check", *check}}) +
          "\n");
  } else if (records->empty()) {
    explainNoApplications(context.agent);
  } else if (!updates.empty()) {
    printUpdates(context, std::move(updates), newIds);
  } else if (!fault) {
    print("Nothing newer is on offer for " +
          countText(records->size(), "application", "applications") + ".\n");
  }
  if (!fault) return kOk;
  complain("The update service gave no answer (" + *fault + ").");
  return kFailed;
}

}  // namespace revwarden
