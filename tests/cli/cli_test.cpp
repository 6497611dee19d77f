// The program against a fake agent that sends what the test needs.
#include <gmock/gmock.h>

#include <atomic>

#include "cli/commands.h"
#include "tests/cli/fake_agent.h"
#include "tests/cli/job_events.h"

namespace revwarden {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using Peer = FakeAgent::Peer;
const auto answering = FakeAgent::answering;

TEST(Cli, ListShowsOutdatedByVersionOrderAndJsonTheRecordsAsTheyAre) {
  const Json items = {record("Older", "1.9", "1.10"), record("Same", "1.10", "1.10.0"),
                      record("Ahead", "2.0", "1.9"), muted("Muted"), record("Unknown", "3")};
  FakeAgent agent({{"itemsSnapshot", answering(items)}});
  const Outcome all = agent.run({"list"});
  EXPECT_EQ(all.status, 0);
  EXPECT_THAT(all.out, HasSubstr("Muted    1          2                ignored     outdated\n"
                                 "Older    1.9        1.10                         outdated\n"
                                 "Same     1.10       1.10.0                       up to date\n"
                                 "Unknown  3                                       not checked\n"));
  EXPECT_EQ(Json::parse(agent.run({"list", "--outdated", "--all", "--json"}).out),
            Json({items[0], items[3]}));
}

TEST(Cli, ChangesOnlyWhatIsNamedWithoutDoubt) {
  Json twin = record("Twin", "1");
  Json otherTwin = record("Twin", "2");
  otherTwin["id"] = "id-other";
  otherTwin["applicationPath"] = "/Volumes/B/Twin.app";
  const Json items = {record("Café", "1"), twin, otherTwin, record("show", "1")};
  FakeAgent agent({{"itemsSnapshot", answering(items)},
                   {"itemSnapshotWithID:", answering(items[0])},
                   {"moveItemsWithIds:toBlackList:", answering(nullptr)}});

  const Outcome ambiguous = agent.run({"star", "CAFÉ", "twin"});
  EXPECT_THAT(ambiguous.err, AllOf(HasSubstr("ambiguous"), HasSubstr("/Applications/Twin.app"),
                                   HasSubstr("/Volumes/B/Twin.app")));
  const Outcome unknown = agent.run({"ignore", "Cafe"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.err, AllOf(HasSubstr("No application"), HasSubstr("Café 1, /Appl")));
  for (const Json& call : agent.calls()) EXPECT_EQ(call[0], "itemsSnapshot");

  EXPECT_EQ(agent.run({"ignore", "com.example.café", "id-other", "/Volumes/B/Twin.app/"}).status,
            0);
  EXPECT_THAT(agent.calls(),
              testing::Contains(Json::parse(
                  R"(["moveItemsWithIds:toBlackList:", [["id-Café", "id-other"], true]])")));
  EXPECT_THAT(agent.run({"show", "show"}).out, HasSubstr("id-show")) << "a command's name";
}

TEST(Cli, NothingFromTheServiceActsOnTheTerminal) {
  Json item = record("A\x1b[31mB\x1b]0;title\x07\u202E\u0085\x7f\nC", "1.0\u009b", "2\t0");
  item["availableVersionInfo"]["full_descr"] = "one\r\n\x1b]52;c;unfinished\ntwo";
  FakeAgent agent({{"itemsSnapshot", answering(Json::array({item}))}});
  EXPECT_THAT(agent.run({"list"}).out, HasSubstr("\nAB  C  1.0  "));
  const Outcome shown = agent.run({"show", "AB  C"});
  EXPECT_THAT(shown.out, HasSubstr("Description:        one\n"
                                   "                    52;c;unfinished\n"
                                   "                    two\n"));
  const Outcome json = agent.run({"list", "--json"});
  EXPECT_THAT(json.out,
              AllOf(Not(HasSubstr("\x7f")), Not(HasSubstr("\u202E")), HasSubstr("\\u202e")));
  EXPECT_EQ(Json::parse(json.out)[0], item);
  EXPECT_EQ(cleaned("a\xff\xc0\xafz\xe2\x82"), "a\uFFFD\uFFFDz\uFFFD");
}

AgentEvent checkEnded(const std::string& outcome, const Json& reason = nullptr,
                      const std::string& started = "2100-01-01T00:00:00.5Z", bool byUser = true) {
  return {"host.checkEnded",
          {{{"started", started}, {"outcome", outcome}, {"reason", reason}, {"byUser", byUser}}}};
}

TEST(CliCheck, TellsWhatIsNewAndRepeatsARequestThatTheAgentDropped) {
  // A pass runs at first; when it has ended, another pass starts just before the request.
  std::vector<bool> running = {true, false, true, false};
  std::atomic<int> requests = 0;
  FakeAgent agent(
      {{"itemsSnapshot",
        [&](const Peer& p) {
          p.reply({record("New", "1", requests > 0 ? "1.5" : ""), record("Old", "1", "2")});
        }},
       {"updateIsInProgress",
        [&](const Peer& p) {
          p.reply(Json(running.front()));
          if (running.size() > 1) running.erase(running.begin());
        }},
       {"startFullRescan", [&](const Peer& p) {
          p.reply(nullptr);
          p.play({checkEnded("invalid", "old", "2001-01-01T00:00:00Z"),
                  checkEnded("invalid", "by timer", "2100-01-01T00:00:00Z", false)});
          if (++requests == 2) p.play({checkEnded("answered")});
        }}});
  const Outcome outcome = agent.run({"check"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("new  New   1          1.5\n"),
                                 HasSubstr("\n     Old   1          2\n")));
  EXPECT_EQ(requests.load(), 2);
}

TEST(CliCheck, SaysWhyTheServiceGaveNoAnswer) {
  for (const std::string kind : {"unreachable", "invalid", "notNeeded", "ended"}) {
    FakeAgent agent({{"itemsSnapshot", answering({record("Old", "1", "2")})},
                     {"updateIsInProgress", answering(false)},
                     {"startFullRescan", [&](const Peer& p) {
                        p.reply(nullptr);
                        if (kind == "ended") return p.hangUp();
                        p.play({checkEnded(kind, "n\no")});
                      }}});
    const Outcome outcome = agent.run({"check", "--json"});
    EXPECT_EQ(outcome.status, kind == "notNeeded" ? 0 : 1);
    if (kind == "ended") {
      EXPECT_THAT(outcome.err, HasSubstr("The agent has ended."));
      continue;
    }
    const Json json = Json::parse(outcome.out);
    EXPECT_EQ(json["check"]["outcome"], kind);
    EXPECT_EQ(json["error"], outcome.status ? Json("n o") : Json());
    EXPECT_EQ(outcome.err,
              outcome.status ? "revwarden: The update service gave no answer (n o).\n" : "");
  }
}

TEST(Cli, StatusIncludesTheHostsAndWarnsOfUnsavedSettings) {
  std::map<std::string, FakeAgent::Script> scripts = {
      {"host.version", answering({{"agent", "1"}})},
      {"host.status",
       answering({{"lastAnswered", nullptr}, {"unsavedSince", "2026-01-01T00:00:00Z"}})},
      {"itemsSnapshot", answering({outdated("A")})},
      {"lastFireDate", answering(nullptr)}};
  for (const char* method : {"updateIsInProgress", "showRevwardenNotifications",
                             "updatesApplicationsFromAllLocalVolumes"}) {
    scripts[method] = answering(false);
  }
  scripts["totalUpdatesCount"] = scripts["installerQueueCount"] = answering(1);
  FakeAgent agent(scripts);
  EXPECT_THAT(agent.run({"status"}).out,
              AllOf(HasSubstr("1, 1 outdated\n"), HasSubstr("none since the agent started\n"),
                    HasSubstr("settings could not be saved since 2026-01-01 ")));
  EXPECT_EQ(Json::parse(agent.run({"status", "--json"}).out)["unsavedSince"],
            "2026-01-01T00:00:00Z");
}

TEST(Cli, MissingAndBrokenAgentsAreExplained) {
  EXPECT_THAT(runProgram({"list", "--socket", "/none"}).err,
              HasSubstr("revwarden-agent --socket '/none' &"));
  const std::pair<std::string, std::string> cases[] = {
      {"", "has ended"},
      {"{\"jsonrpc\":\"2.0\",\"id\":1,\"resu", "middle of a message"},
      {"rubbish\n", "no message"},
      {"{\"id\":1,\"error\":7}\n", "without a result"},
      {"{\"id\":1,\"error\":{\"code\":-32602,\"message\":\"a\\u001b[2Jb\"}}\n", "refused"},
  };
  for (const auto& [bytes, complaint] : cases) {
    FakeAgent agent({{"itemsSnapshot", [bytes = bytes](const Peer& peer) {
                        peer.raw(bytes);
                        peer.hangUp();
                      }}});
    const Outcome outcome = agent.run({"list"});
    EXPECT_EQ(outcome.status, 1) << bytes;
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(complaint), Not(HasSubstr("\x1b")))) << bytes;
  }
}

TEST(Cli, WatchPrintsEventsUntilTheAgentEnds) {
  FakeAgent agent({{"connected", [](const Peer& peer) {
                      peer.event("agent:didChangeStatusForItems:", {{record("A", "1")}});
                      peer.event("log", {"KQLog", "two\nlines\x1b[1m", "%@", {"x"}});
                      peer.event("openURL:", {"http://a\x1b[1m/", false});
                      peer.event("unheardOf", 5);
                      peer.hangUp();
                    }}});
  const Outcome words = agent.run({"watch"});
  EXPECT_THAT(words.out,
              AllOf(HasSubstr("  Changed: A\n"), HasSubstr("  KQLog: two\n"),
                    HasSubstr("\n          lines\n"), HasSubstr("Could not be opened: http://a/\n"),
                    HasSubstr("unheardOf 5\n")));
  const Outcome json = agent.run({"watch", "--json"});
  EXPECT_THAT(json.out, testing::EndsWith("{\"method\":\"unheardOf\",\"params\":5}\n"));
}

TEST(Cli, SettingsTakeYesAndNoOnly) {
  FakeAgent agent({{"setShowRevwardenNotifications:", answering(nullptr)},
                   {"showRevwardenNotifications", answering(false)}});
  EXPECT_EQ(agent.run({"settings", "showRevwardenNotifications", "No"}).status, 0);
  EXPECT_THAT(agent.calls(), testing::Contains(Json({"setShowRevwardenNotifications:", {false}})));
  EXPECT_EQ(agent.run({"settings", "showRevwardenNotifications", "maybe"}).status, 2);
}

TEST(Cli, NoticesAreShownWithoutBeingAnsweredAndAnsweredOnATerminal) {
  const Json notice = {
      {"id", 7}, {"text", "Updates: A"}, {"button1Text", "OK"}, {"button2Text", nullptr}};
  FakeAgent agent(
      {{"host.notices", answering({notice})}, {"host.answerNotification", [](const Peer& p) {
                                                 p.reply(p.params == Json({7, 1}));
                                               }}});
  EXPECT_EQ(agent.run({"notices"}).out, "7  Updates: A\n   [1 OK   0 dismiss]\n");
  EXPECT_EQ(agent.calls().size(), 1u) << "it is not answered";
  EXPECT_EQ(agent.run({"notices", "--answer", "7", "1"}).status, 0);
  EXPECT_EQ(agent.run({"notices", "--answer", "7", "0"}).status, 1) << "not open any more";
  EXPECT_EQ(agent.onTerminal({"notices"}, 80, "1\n").status, 0);
  EXPECT_EQ(agent.calls().back(), Json({"host.answerNotification", {7, 1}}));
}

TEST(Cli, ColourAndWidthOnATerminalAndAnErrorWhenTheOutputIsLost) {
  std::string wide;
  while (wide.size() < 90) wide += "字";
  FakeAgent agent({{"itemsSnapshot", answering({outdated(wide)})}});
  EXPECT_THAT(agent.onTerminal({"list"}, 60).out,
              AllOf(HasSubstr("\x1b[32m字字"), HasSubstr("字…   1 ")));
  EXPECT_EQ(agent.run({"list"}, "/dev/full").status, 1);
}

}  // namespace
}  // namespace revwarden
