#include <gmock/gmock.h>

#include "host/host_log.h"
#include "host/json_values.h"
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
  HostLog lines(log);
  testing::internal::CaptureStderr();
  lines.NSLog("path \"%@\" and %@", {"a\nb\x1b", std::nullopt});
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "NSLog: path \"a\\nb\\x1b\" and (null)\n");
  EXPECT_EQ(Json::parse(log.eventsAfter(0))[0]["params"],
            Json({"NSLog", "path \"a\nb\x1b\" and (null)", "path \"%@\" and %@",
                  Json({"a\nb\x1b", "(null)"})}));

  std::string answer;
  for (int i = 0; i < 2 << 20; ++i) answer += "\xc3\xa9";
  lines.NSLog("Answer: %@", {answer});
  const Json params = Json::parse(log.eventsAfter(1))[0]["params"];
  EXPECT_EQ(params[1], "Answer: " + answer.substr(0, (1 << 20) - 8) + " [3145736 bytes left out]");
}

}  // namespace
}  // namespace revwarden
