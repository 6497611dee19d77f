// `update` and `cancel` against an agent that plays a run of its queue.
#include <gmock/gmock.h>

#include "tests/cli/fake_agent.h"
#include "tests/cli/job_events.h"

namespace revwarden {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using Peer = FakeAgent::Peer;
using Events = std::vector<AgentEvent>;
const auto answering = FakeAgent::answering;

/// An agent that plays `during` within a request for updates, and `after` behind its reply. The
/// pass after the jobs is skipped; only one asked for finds the new versions.
std::map<std::string, FakeAgent::Script> updating(const Json& items, const Json& itemsAfterwards,
                                                  const Events& during, const Events& after) {
  const auto looked = std::make_shared<int>(0);
  return {{"itemsSnapshot", [=](const Peer& p) { p.reply(*looked ? itemsAfterwards : items); }},
          {"startUpdateItemWithIDs:",
           [=](const Peer& p) {
             p.play(during);
             p.reply(nullptr);
           }},
          {"installerQueueIsInProgress",
           [=](const Peer& p) {
             p.reply(true);
             p.play(after);
           }},
          {"startUpdateInfoForItemsWithIDs:",
           [=](const Peer& p) {
             ++*looked;
             p.reply(nullptr);
           }},
          {"updateIsInProgress", [=](const Peer& p) {
             p.reply(*looked == 1);
             if (*looked == 1) p.event("agentDidFinishValidateItem:");
             *looked *= 2;
           }}};
}

const Events kTwoQueued = {jobStarts("A"), statusChanges({"A", "B"}, true)};
const Events kOneOfTwoFails = {jobGoesOn("A", 2, 500'000, 1'000'000),
                               jobGoesOn("A", 3, 1'000'000, 1'000'000),
                               jobStops("A"),
                               jobStarts("B"),
                               jobSucceeded("A"),
                               warning("Failed\x1b[2J to update"),
                               jobStops("B"),
                               queueStops(),
                               jobFailed("B")};

TEST(Update, TellsEachStepAndResultInWordsInBarsOnATerminalAndInJson) {
  const Json items = {outdated("A"), outdated("B"), updated("Current"), muted("Muted")};
  const auto scripts = [&] {
    return updating(items, {updated("A"), outdated("B")}, kTwoQueued, kOneOfTwoFails);
  };
  FakeAgent agent(scripts());
  const Outcome outcome = agent.run({"update", "--all"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr("A: downloading, 0.5 of 1.0 MB\nA: installing\n"),
                    HasSubstr("A: updated from 1 to 2\nB: failed: Failed to update\n")));
  EXPECT_EQ(agent.calls()[1], Json::parse(R"(["startUpdateItemWithIDs:", [["id-A", "id-B"]]])"));

  EXPECT_THAT(
      FakeAgent(scripts()).onTerminal({"update", "A", "B"}, 70).out,
      AllOf(HasSubstr("starting\x1b[K\r\n"), HasSubstr("in queue\x1b[K\r\n\x1b[J"),
            HasSubstr("\r\x1b[2A\x1b[J\x1b[32mA: updated from 1 to 2\x1b[0m\r\nB: failed")));
  const Outcome json = FakeAgent(scripts()).run({"update", "A", "B", "--json"});
  EXPECT_EQ(std::count(json.out.begin(), json.out.end(), '\n'), 12) << json.out;
  EXPECT_EQ(json.status, 1);
}

TEST(Update, AnInterruptLeavesTheJobsAndAnAgentThatEndsDoesNotHang) {
  auto scripts = updating({outdated("A"), outdated("B")}, {}, kTwoQueued, {});
  scripts["startUpdateItemWithIDs:"] = [](const Peer& peer) {
    peer.interruptClient();  // while rights are asked for: no reply
  };
  FakeAgent agent(scripts);
  const Outcome outcome = agent.run({"update", "A"});
  EXPECT_EQ(outcome.status, 130);
  EXPECT_THAT(outcome.err, HasSubstr("revwarden cancel"));
  EXPECT_EQ(agent.calls().back()[0], "startUpdateItemWithIDs:") << "nothing is cancelled";

  scripts = updating({outdated("A"), outdated("B")}, {}, kTwoQueued, {});
  scripts["installerQueueIsInProgress"] = [](const Peer& peer) {
    peer.reply(true);
    peer.play({jobStops("A"), jobStarts("B"), jobSucceeded("A")});
    peer.hangUp();
  };
  const Outcome ended = FakeAgent(scripts).run({"update", "--all"});
  EXPECT_EQ(ended.status, 1);
  EXPECT_THAT(ended.err, HasSubstr("The agent has ended."));
  EXPECT_THAT(ended.out, AllOf(HasSubstr("A: done;"), HasSubstr("B: not over when the agent")));
}

TEST(Cancel, TellsWhatWasCancelledAndWhatWasNotInTheQueue) {
  FakeAgent agent({{"itemsSnapshot", answering({outdated("A", true), outdated("B")})},
                   {"cancelUpdateItemWithIDs:", [](const Peer& peer) {
                      peer.play({statusChanges({"B"}, false), jobStops("A"), jobFailed("A"),
                                 statusChanges({"A"}, false)});
                      peer.reply(nullptr);
                    }}});
  const Outcome named = agent.run({"cancel", "A", "B"});
  EXPECT_EQ(named.status, 1);
  EXPECT_EQ(named.out, "Cancelled: A\n");
  EXPECT_EQ(named.err, "revwarden: B is not in the install queue.\n");
  EXPECT_EQ(agent.run({"cancel", "--all"}).status, 0);
  EXPECT_EQ(agent.calls().back(), Json::parse(R"(["cancelUpdateItemWithIDs:", [["id-A"]]])"));
}

}  // namespace
}  // namespace revwarden
