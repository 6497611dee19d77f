#include <gmock/gmock.h>

#include "host/agent_events.h"
#include "host/json_values.h"
#include "host/notices.h"
#include "host/rpc_methods.h"
#include "tests/host/host_fixture.h"

namespace revwarden {
namespace {

class Events : public testing::Test {
 protected:
  /// The numbers of the events that are still kept after `sequence`.
  static std::vector<uint64_t> keptAfter(const EventLog& log, uint64_t sequence) {
    std::vector<uint64_t> numbers;
    for (const Json& event : Json::parse(log.eventsAfter(sequence))) {
      numbers.push_back(event["seq"]);
    }
    return numbers;
  }

  const Diagnostics diagnostics_{LogLevel::error};
  ManualClock clock_;
  ManualRunLoop loop_{clock_};
};

TEST_F(Events, TheLatestAreKeptWithinBothLimits) {
  EventLog log(loop_, diagnostics_, {3, 2000});
  for (int i = 0; i < 5; ++i) log.append("event", "[]");
  EXPECT_THAT(keptAfter(log, 0), testing::ElementsAre(3, 4, 5));
  EXPECT_THAT(keptAfter(log, 4), testing::ElementsAre(5));
  EXPECT_THAT(keptAfter(log, 99), testing::IsEmpty());
  log.append("large", "[\"" + std::string(1900, 'x') + "\"]");
  EXPECT_THAT(keptAfter(log, 0), testing::ElementsAre(6));
  log.append("too large", "[\"" + std::string(2000, 'x') + "\"]");
  EXPECT_THAT(keptAfter(log, 0), testing::IsEmpty());
}

TEST_F(Events, LogLinesKeepTheirLineBreaksForClientsOnlyAndAreCutWhenLong) {
  EventLog log(loop_, diagnostics_);
  LogEvents lines(log);
  testing::internal::CaptureStderr();
  lines.NSLog("path \"%@\" and %@", {"a\nb\x1b", std::nullopt});
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "NSLog: path \"a\\nb\\u001b\" and (null)\n");
  EXPECT_EQ(Json::parse(log.eventsAfter(0))[0]["params"],
            Json({"NSLog", "path \"a\nb\x1b\" and (null)", "path \"%@\" and %@",
                  Json({"a\nb\x1b", "(null)"})}));

  std::string answer;
  for (int i = 0; i < 2 << 20; ++i) answer += "\xc3\xa9";
  lines.NSLog("Answer: %@", {answer});
  const Json params = Json::parse(log.eventsAfter(1))[0]["params"];
  EXPECT_EQ(params[1], "Answer: " + answer.substr(0, (1 << 20) - 8) + " [3145736 bytes left out]");
}

TEST_F(Events, OutcomesAreEventsAndTheStatusTellsTheLastChecks) {
  EventLog log(loop_, diagnostics_);
  OutcomeEvents outcomes(log);
  using Job = JobOutcome::Kind;
  using Check = CheckOutcome::Kind;
  outcomes.jobEnded(
      {"7", "A", "/A.app", "1", "2", Job::updated, {}, {}, "/T/A.app", Date{0.5}, Date{2}});
  outcomes.jobEnded(
      {"8", "", "", {}, {}, Job::dropped, "queueInterrupted", "why", {}, {}, Date{3}});
  outcomes.checkEnded({Date{4}, Date{5}, 2, 1, Check::answered, {}, 200, true});
  outcomes.checkEnded({Date{0}, Date{6}, 0, 0, Check::unreachable, "r", {}, false});
  outcomes.checkEnded({Date{0}, Date{7}, 0, 0, Check::notNeeded, {}, {}, false});
  Json told = Json::array();
  for (const Json& event : Json::parse(log.eventsAfter(0))) {
    told.push_back(Json::array({event["method"], event["params"][0]}));
  }
  EXPECT_EQ(told, Json::parse(R"([
    ["host.jobEnded", {"id": "7", "name": "A", "path": "/A.app", "from": "1", "to": "2",
      "outcome": "updated", "code": null, "reason": null, "trashed": "/T/A.app",
      "started": "1970-01-01T00:00:00.5Z", "ended": "1970-01-01T00:00:02Z"}],
    ["host.jobEnded", {"id": "8", "name": "", "path": "", "from": null, "to": null,
      "outcome": "dropped", "code": "queueInterrupted", "reason": "why", "trashed": null,
      "started": null, "ended": "1970-01-01T00:00:03Z"}],
    ["host.checkEnded", {"started": "1970-01-01T00:00:04Z", "ended": "1970-01-01T00:00:05Z",
      "asked": 2, "answered": 1, "outcome": "answered", "reason": null, "status": 200,
      "byUser": true}],
    ["host.checkEnded", {"started": "1970-01-01T00:00:00Z", "ended": "1970-01-01T00:00:06Z",
      "asked": 0, "answered": 0, "outcome": "unreachable", "reason": "r", "status": null,
      "byUser": false}],
    ["host.checkEnded", {"started": "1970-01-01T00:00:00Z", "ended": "1970-01-01T00:00:07Z",
      "asked": 0, "answered": 0, "outcome": "notNeeded", "reason": null, "status": null,
      "byUser": false}]])"));

  Notices notices(log, loop_);
  RpcMethods methods;
  addHostMethods(methods, {"1",
                           {},
                           notices,
                           log,
                           outcomes,
                           [] { return Date{8}; },
                           [] { return std::vector<std::string>{"9"}; },
                           [] {}});
  const auto reply = answerLine(R"({"jsonrpc":"2.0","id":1,"method":"host.status"})", methods);
  EXPECT_EQ(Json::parse(*reply)["result"], Json::parse(R"({
    "lastCheck": "1970-01-01T00:00:06Z", "lastAnswered": "1970-01-01T00:00:05Z",
    "unsavedSince": "1970-01-01T00:00:08Z", "openJobs": ["9"]})"));
}

}  // namespace
}  // namespace revwarden
