// `update` and `cancel` against an agent that plays a run of its queue.
#include <gmock/gmock.h>

#include "tests/cli/fake_agent.h"
#include "tests/cli/job_events.h"

namespace revwarden {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using Peer = FakeAgent::Peer;
using Events = std::vector<AgentEvent>;
const auto answering = FakeAgent::answering;

/// An agent that plays `during` within a request for updates, then says which jobs are open, and
/// plays `after`.
std::map<std::string, FakeAgent::Script> updating(const Json& items, const Events& during,
                                                  const Json& openJobs = Json::array(),
                                                  const Events& after = {}) {
  return {{"itemsSnapshot", answering(items)},
          {"startUpdateItemWithIDs:",
           [=](const Peer& p) {
             p.play(during);
             p.reply(nullptr);
           }},
          {"host.status", [=](const Peer& p) {
             p.reply({{"openJobs", openJobs}});
             p.play(after);
           }}};
}

TEST(Update, EachOutcomeHasItsTextAndExitStatus) {
  const struct {
    AgentEvent outcome;
    std::string text;
    int status;
  } cases[] = {
      {jobEnded("A", "updated"), "updated from 1 to 2", 0},
      {jobEnded("A", "updated", nullptr, "1", "1"), "replaced, but the version is still 1", 0},
      {jobEnded("A", "updated", nullptr, nullptr), "updated to 2", 0},
      {jobEnded("A", "packageRun"), "updated from 1 to 2", 0},
      {jobEnded("A", "packageRun", nullptr, nullptr, nullptr), "package run", 0},
      {jobEnded("A", "handedOver", "opened: u"), "to be finished by you (opened: u)", 0},
      {jobEnded("A", "failed", "no\x1b[2J route"), "failed: no route", 1},
      {jobEnded("A", "cancelled", "by the user"), "cancelled", 1},
      {jobEnded("A", "dropped", "B failed"), "dropped: B failed", 1},
      {jobEnded("A", "refused", "no rights"), "not started: no rights", 1},
      {jobEnded("Other", "updated"), "no longer in the catalogue", 1},
  };
  for (const auto& [event, text, status] : cases) {
    const Outcome outcome =
        FakeAgent(updating(Json::array({outdated("A")}), {event})).run({"update", "A"});
    EXPECT_EQ(outcome.out, "A: " + text + "\n");
    EXPECT_EQ(outcome.status, status) << text;
    EXPECT_EQ(outcome.err, "");
  }
}

TEST(Update, WaitsForTheOutcomesOfOpenJobsAndNoOthers) {
  // A is in the queue twice, behind a cancelled job of its own. The page of B is still opening when
  // the queue stops. C ends before the reply, after an earlier job for it.
  const Events during = {jobEnded("C", "failed", "an earlier job"), jobEnded("A", "failed", "too"),
                         jobEnded("C", "updated")};
  const Events after = {jobEnded("A", "cancelled"), jobStops("B"), queueStops(),
                        jobEnded("A", "updated"), jobEnded("B", "handedOver", "opened")};
  FakeAgent agent(updating({outdated("A", true), outdated("B"), outdated("C")}, during,
                           {"id-A", "id-B", "id-A", "id-Other"}, after));
  const Outcome outcome = agent.run({"update", "--all"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr("A: updated"), HasSubstr("B: to be fin"), HasSubstr("C: updated")));
}

TEST(Update, ShowsStepsInWordsInBarsOnATerminalAndEventsInJson) {
  const Json items = {outdated("A"), outdated("B"), record("Current", "2", "2"), muted("Muted")};
  const Events during = {jobStarts("A"), jobContinues("A", 2, 500'000, 1'000'000)};
  const Events after = {jobContinues("A", 4), jobContinues("A", 3, 1'000'000, 1'000'000),
                        jobStops("A"),        jobEnded("A", "updated"),
                        jobStarts("B"),       jobContinues("A", 3),
                        jobStops("B"),        jobEnded("B", "failed", "no route")};
  const auto scripts = updating(items, during, {"id-A", "id-B"}, after);
  FakeAgent agent(scripts);
  const Outcome outcome = agent.run({"update", "--all"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out,
            "A: downloading, 0.5 of 1.0 MB\nB: in queue\nA: installing\nA: updated from 1 to 2\n"
            "B: starting\nB: failed: no route\n");
  EXPECT_EQ(agent.calls()[1], Json::parse(R"(["startUpdateItemWithIDs:", [["id-A", "id-B"]]])"));

  EXPECT_THAT(FakeAgent(scripts).onTerminal({"update", "A", "B"}, 70).out,
              AllOf(HasSubstr("downloading\x1b[K\r\n"), HasSubstr("in queue\x1b[K\r\n\x1b[J"),
                    EndsWith("\r\x1b[2A\x1b[J\x1b[32mA: updated from 1 to 2\x1b[0m\r\n"
                             "B: failed: no route\r\n")));
  const Outcome json = FakeAgent(scripts).run({"update", "A", "B", "--json"});
  EXPECT_EQ(std::count(json.out.begin(), json.out.end(), '\n'), 10 + 2) << json.out;
  EXPECT_THAT(json.out,
              EndsWith(after[3].params[0].dump() + "\n" + after[7].params[0].dump() + "\n"));
}

TEST(Update, AnInterruptLeavesTheJobsAndAnAgentThatEndsDoesNotHang) {
  auto scripts = updating({outdated("A"), outdated("B")}, {});
  scripts["startUpdateItemWithIDs:"] = [](const Peer& peer) {
    peer.interruptClient();  // no reply, as if the user were asked for rights
  };
  FakeAgent agent(scripts);
  const Outcome outcome = agent.run({"update", "A"});
  EXPECT_EQ(outcome.status, 130);
  EXPECT_THAT(outcome.err, HasSubstr("revwarden cancel"));
  EXPECT_EQ(agent.calls().back()[0], "startUpdateItemWithIDs:") << "nothing is cancelled";

  scripts = updating({outdated("A"), outdated("B")}, {});
  scripts["host.status"] = [](const Peer& peer) {
    peer.reply({{"openJobs", {"id-A", "id-B"}}});
    peer.play({jobEnded("A", "failed", "the agent ended")});
    peer.hangUp();
  };
  const Outcome ended = FakeAgent(scripts).run({"update", "--all"});
  EXPECT_EQ(ended.status, 1);
  EXPECT_THAT(ended.err, HasSubstr("The agent has ended."));
  EXPECT_THAT(ended.out, EndsWith("A: failed: the agent ended\nB: not finished when the agent "
                                  "ended\n"));
}

TEST(Cancel, SaysWhatCameOfEachApplication) {
  FakeAgent agent(
      {{"itemsSnapshot", answering({outdated("A", true), outdated("B"), outdated("C", true)})},
       {"cancelUpdateItemWithIDs:", [](const Peer& peer) {
          peer.play({jobEnded("C", "updated"), jobStops("A"), jobEnded("Other", "failed"),
                     jobEnded("A", "cancelled", "by the user")});
          peer.reply(nullptr);
        }}});
  const Outcome named = agent.run({"cancel", "A", "B", "C"});
  EXPECT_EQ(named.status, 1);
  EXPECT_EQ(named.out, "Cancelled: A\nC was not cancelled: updated from 1 to 2\n");
  EXPECT_EQ(named.err, "revwarden: B is not in the install queue.\n");
  EXPECT_EQ(agent.run({"cancel", "A"}).status, 0);
  EXPECT_EQ(Json::parse(agent.run({"cancel", "--all", "--json"}).out)[0]["outcome"], "cancelled");
  EXPECT_EQ(agent.calls().back(),
            Json::parse(R"(["cancelUpdateItemWithIDs:", [["id-A", "id-C"]]])"));
}

}  // namespace
}  // namespace revwarden
