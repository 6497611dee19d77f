// `update` and `cancel` against an agent that plays a run of its queue.
#include <gmock/gmock.h>

#include "tests/cli/fake_agent.h"
#include "tests/cli/job_events.h"
#include "tests/cli/run_program.h"

namespace revwarden {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using Peer = FakeAgent::Peer;
using Events = std::vector<AgentEvent>;
const auto answering = FakeAgent::answering;

void play(const Peer& peer, const Events& events) {
  for (const AgentEvent& event : events) peer.event(event.method, event.params);
}

/// An agent that plays `during` within a request for updates, and `after` behind its reply. The
/// pass after the jobs is skipped; only one asked for finds the new versions.
std::map<std::string, FakeAgent::Script> updating(const Json& items, const Json& itemsAfterwards,
                                                  const Events& during, const Events& after) {
  const auto looked = std::make_shared<int>(0);
  return {{"itemsSnapshot",
           [=](const Peer& p, const Json&) { p.reply(*looked ? itemsAfterwards : items); }},
          {"startUpdateItemWithIDs:",
           [=](const Peer& p, const Json&) {
             play(p, during);
             p.reply(nullptr);
           }},
          {"installerQueueIsInProgress",
           [=](const Peer& p, const Json&) {
             p.reply(true);
             play(p, after);
           }},
          {"startUpdateInfoForItemsWithIDs:",
           [=](const Peer& p, const Json&) {
             ++*looked;
             p.reply(nullptr);
           }},
          {"updateIsInProgress", [=](const Peer& p, const Json&) {
             p.reply(*looked == 1);
             if (*looked == 1) p.event("agentDidFinishValidateItem:");
             *looked *= 2;
           }}};
}

std::vector<std::string> at(const FakeAgent& agent, std::vector<std::string> arguments) {
  arguments.insert(arguments.end(), {"--socket", agent.socketPath()});
  return arguments;
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

TEST(Update, AllThatIsOutdatedWithALineForEachStepAndResult) {
  Json muted = outdated("Muted");
  muted["isInBlackList"] = true;
  const Json items = {outdated("A"), outdated("B"), updated("Current"), muted};
  FakeAgent agent(updating(items, {updated("A"), outdated("B")}, kTwoQueued, kOneOfTwoFails));
  const Outcome outcome = runProgram(at(agent, {"update", "--all"}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr("A: downloading, 0.5 of 1.0 MB\nA: installing\n"),
                    HasSubstr("A: updated from 1 to 2\nB: failed: Failed to update\n")));
  EXPECT_EQ(agent.calls()[1], Json::parse(R"(["startUpdateItemWithIDs:", [["id-A", "id-B"]]])"));

  FakeAgent another(updating(items, items, kTwoQueued, kOneOfTwoFails));
  const Outcome json = runProgram(at(another, {"update", "A", "B", "--json"}));
  EXPECT_EQ(std::count(json.out.begin(), json.out.end(), '\n'), 12) << json.out;
  EXPECT_EQ(json.status, 1);
}

TEST(Update, BarsAreDrawnOverOnATerminalAndGoneBeforeTheResults) {
  setenv("TERM", "xterm", 1);
  const Json items = {outdated("A"), outdated("B")};
  FakeAgent agent(updating(items, {updated("A"), outdated("B")}, kTwoQueued, kOneOfTwoFails));
  const Outcome outcome = runOnTerminal(at(agent, {"update", "A", "B"}), 70, "");
  EXPECT_THAT(
      outcome.out,
      AllOf(HasSubstr("starting\x1b[K\r\n"), HasSubstr("in queue\x1b[K\r\n\x1b[J"),
            HasSubstr("\r\x1b[2A\x1b[J\x1b[32mA: updated from 1 to 2\x1b[0m\r\nB: failed")));
}

TEST(Update, WhatThereIsNothingToDoFor) {
  FakeAgent agent({{"itemsSnapshot", answering({updated("A")})}});
  const Outcome all = runProgram(at(agent, {"update", "--all"}));
  EXPECT_EQ(all.status, 0);
  EXPECT_EQ(all.out, "Nothing newer is on offer.\n");
  EXPECT_EQ(runProgram(at(agent, {"update", "a"})).out, "A: nothing newer than 2 is on offer\n");
  EXPECT_EQ(runProgram(at(agent, {"update", "B"})).status, 2);
  for (const char* command : {"update", "cancel"}) {
    EXPECT_EQ(runProgram(at(agent, {command})).status, 2);
    EXPECT_EQ(runProgram(at(agent, {command, "A", "--all"})).status, 2);
  }
  for (const Json& call : agent.calls()) EXPECT_EQ(call[0], "itemsSnapshot");
}

TEST(Update, AnInterruptLeavesTheJobsAndAnAgentThatEndsDoesNotHang) {
  auto scripts =
      updating(Json::array({outdated("A")}), {}, {jobStarts("A"), statusChanges({"A"}, true)}, {});
  scripts["startUpdateItemWithIDs:"] = [](const Peer& peer, const Json&) {
    peer.interruptClient();  // while rights are asked for: no reply
  };
  FakeAgent agent(scripts);
  const Outcome outcome = runProgram(at(agent, {"update", "A"}));
  EXPECT_EQ(outcome.status, 130);
  EXPECT_THAT(outcome.err, HasSubstr("revwarden cancel"));
  EXPECT_EQ(agent.calls().back()[0], "startUpdateItemWithIDs:") << "nothing is cancelled";

  scripts = updating({outdated("A"), outdated("B")}, {}, kTwoQueued, {});
  scripts["installerQueueIsInProgress"] = [](const Peer& peer, const Json&) {
    peer.reply(true);
    play(peer, {jobStops("A"), jobStarts("B"), jobSucceeded("A")});
    peer.hangUp();
  };
  FakeAgent ending(scripts);
  const Outcome ended = runProgram(at(ending, {"update", "--all"}));
  EXPECT_EQ(ended.status, 1);
  EXPECT_THAT(ended.err, HasSubstr("The agent has ended."));
  EXPECT_THAT(ended.out, AllOf(HasSubstr("A: done;"), HasSubstr("B: not over when the agent")));
}

TEST(Cancel, TellsWhatWasCancelledAndWhatWasNotInTheQueue) {
  FakeAgent agent({{"itemsSnapshot", answering({outdated("A", true), outdated("B")})},
                   {"cancelUpdateItemWithIDs:", [](const Peer& peer, const Json&) {
                      play(peer, {statusChanges({"B"}, false), jobStops("A"), jobFailed("A"),
                                  statusChanges({"A"}, false)});
                      peer.reply(nullptr);
                    }}});
  const Outcome named = runProgram(at(agent, {"cancel", "A", "B"}));
  EXPECT_EQ(named.status, 1);
  EXPECT_EQ(named.out, "Cancelled: A\n");
  EXPECT_EQ(named.err, "revwarden: B is not in the install queue.\n");
  EXPECT_EQ(runProgram(at(agent, {"cancel", "--all"})).status, 0);
  EXPECT_EQ(agent.calls().back(), Json::parse(R"(["cancelUpdateItemWithIDs:", [["id-A"]]])"));
}

}  // namespace
}  // namespace revwarden
