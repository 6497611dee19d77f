// The program against an agent that says what the story needs.
#include <fcntl.h>
#include <gmock/gmock.h>

#include <atomic>

#include "cli/commands.h"
#include "tests/cli/fake_agent.h"
#include "tests/cli/run_program.h"

namespace revwarden {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using Peer = FakeAgent::Peer;
const auto answering = FakeAgent::answering;

Json record(const std::string& name, const std::string& installed, const std::string& offered = "",
            bool ignored = false) {
  Json item = {{"id", "id-" + name},
               {"applicationName", name},
               {"applicationPath", "/Applications/" + name + ".app"},
               {"bundleId", "com.example." + name},
               {"currentVersion", installed},
               {"isInBlackList", ignored}};
  if (!offered.empty()) item["availableVersionInfo"] = {{"version", offered}};
  return item;
}

Outcome runWith(const FakeAgent& agent, std::vector<std::string> arguments) {
  arguments.insert(arguments.end(), {"--socket", agent.socketPath()});
  return runProgram(arguments);
}

TEST(Cli, ListShowsOutdatedByVersionOrderAndJsonTheRecordsAsTheyAre) {
  const Json items = {record("Older", "1.9", "1.10"), record("Same", "1.10", "1.10.0"),
                      record("Ahead", "2.0", "1.9"), record("Muted", "1", "2", true),
                      record("Unknown", "3")};
  FakeAgent agent({{"itemsSnapshot", answering(items)}});
  const Outcome all = runWith(agent, {"list"});
  EXPECT_EQ(all.status, 0);
  EXPECT_THAT(all.out, HasSubstr("Muted    1          2                ignored     outdated\n"
                                 "Older    1.9        1.10                         outdated\n"
                                 "Same     1.10       1.10.0                       up to date\n"
                                 "Unknown  3                                       not checked\n"));
  EXPECT_EQ(Json::parse(runWith(agent, {"list", "--outdated", "--all", "--json"}).out),
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

  const Outcome ambiguous = runWith(agent, {"star", "CAFÉ", "twin"});
  EXPECT_THAT(ambiguous.err, AllOf(HasSubstr("ambiguous"), HasSubstr("/Applications/Twin.app"),
                                   HasSubstr("/Volumes/B/Twin.app")));
  const Outcome unknown = runWith(agent, {"ignore", "Cafe"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.err, AllOf(HasSubstr("No application"), HasSubstr("Café 1, /Appl")));
  for (const Json& call : agent.calls()) EXPECT_EQ(call[0], "itemsSnapshot");

  EXPECT_EQ(
      runWith(agent, {"ignore", "com.example.café", "id-other", "/Volumes/B/Twin.app/"}).status, 0);
  EXPECT_THAT(agent.calls(),
              testing::Contains(Json::parse(
                  R"(["moveItemsWithIds:toBlackList:", [["id-Café", "id-other"], true]])")));
  EXPECT_THAT(runWith(agent, {"show", "show"}).out, HasSubstr("id-show")) << "a command's name";
}

TEST(Cli, NothingFromTheServiceActsOnTheTerminal) {
  Json item = record("A\x1b[31mB\x1b]0;title\x07\u202E\u0085\x7f\nC", "1.0\u009b", "2\t0");
  item["applicationName"] = "A\x1b[31mB\x1b]0;title\x07\u202E\u0085\x7f\nC";
  item["availableVersionInfo"]["full_descr"] = "one\r\n\x1b]52;c;unfinished\ntwo";
  FakeAgent agent({{"itemsSnapshot", answering(Json::array({item}))}});
  EXPECT_THAT(runWith(agent, {"list"}).out, HasSubstr("\nAB  C  1.0  "));
  const Outcome shown = runWith(agent, {"show", "AB  C"});
  EXPECT_THAT(shown.out, HasSubstr("Description:        one\n"
                                   "                    52;c;unfinished\n"
                                   "                    two\n"));
  const Outcome json = runWith(agent, {"list", "--json"});
  EXPECT_THAT(json.out,
              AllOf(Not(HasSubstr("\x7f")), Not(HasSubstr("\u202E")), HasSubstr("\\u202e")));
  EXPECT_EQ(Json::parse(json.out)[0], item);
  EXPECT_EQ(cleaned("a\xff\xc0\xafz\xe2\x82"), "a\uFFFD\uFFFDz\uFFFD");
}

TEST(Cli, TableAlignsWideCharactersAndFitsTheTerminal) {
  TextTable table({"NAME", "VERSION"});
  table.addRow({"漢字漢字漢字漢字", "1234567"});
  table.addRow({"e\u0301a", "2"});
  EXPECT_EQ(table.text({false, 18}),
            "NAME       VERSION\n漢字漢字…  1234567\ne\u0301a         2\n");
}

// The events and replies of an agent whose timer starts a pass when a rescan is asked for.
struct CheckStory {
  std::vector<std::string> running = {"yes", "no", "foreign", "yes", "no"};
  std::atomic<int> requests = 0;  // for a rescan
  bool done = false;

  std::map<std::string, FakeAgent::Script> scripts() {
    return {{"itemsSnapshot",
             [this](const Peer& p, const Json&) {
               p.reply({record("New", "1", done ? "1.5" : ""), record("Old", "1", "2")});
             }},
            {"lastFireDate",
             [this](const Peer& p, const Json&) {
               p.reply(requests < 2 ? Json("2026-01-01T00:00:00.5Z") : Json());
             }},
            {"updateIsInProgress", [this](const Peer& p, const Json&) { progress(p); }},
            {"startFullRescan", [this](const Peer& p, const Json&) { rescan(p); }}};
  }
  void progress(const Peer& peer) {
    const bool busy = running.front() == "yes";
    if (running.size() > 1) running.erase(running.begin());
    peer.event("agentDidFinishValidateItem:");  // of an earlier pass: nobody may wait for it
    peer.reply(busy);
    if (busy) peer.event("agentDidFinishValidateItem:");
  }
  void rescan(const Peer& peer) {
    ++requests;
    peer.event("agentDidStartValidateItem:");
    peer.reply(nullptr);
    if (running.front() == "foreign") {  // the timer's pass was faster: the rescan is dropped
      running.front() = "yes";
      return;
    }
    peer.event("agentDidFinishUpdatingApplicationList:");  // the late word of the pass before
    peer.event("updateService", {"http://u/api/update", 200, 10, nullptr});
    done = true;
    peer.event("agentDidFinishValidateItem:");
    peer.event("agentDidFinishUpdatingApplicationList:");
  }
};

TEST(CliCheck, TellsWhatIsNewAfterThePassThatRunsAlsoWhenAnotherIsFaster) {
  CheckStory story;
  FakeAgent agent(story.scripts());
  const Outcome outcome = runWith(agent, {"check"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("new  New   1          1.5\n"),
                                 HasSubstr("\n     Old   1          2\n")));
  EXPECT_EQ(story.requests, 2);
}

TEST(Cli, NoAgentOrABrokenOneIsAnErrorAndNoMystery) {
  EXPECT_THAT(runProgram({"list", "--socket", "/none"}).err,
              HasSubstr("revwarden-agent --socket '/none' &"));
  const std::pair<std::string, std::string> cases[] = {
      {"", "closed the connection"},
      {"{\"jsonrpc\":\"2.0\",\"id\":1,\"resu", "middle of a message"},
      {"rubbish\n", "no message"},
      {"{\"id\":1,\"error\":7}\n", "without a result"},
      {"{\"id\":1,\"error\":{\"code\":-32602,\"message\":\"a\\u001b[2Jb\"}}\n", "refused"},
  };
  for (const auto& [bytes, complaint] : cases) {
    FakeAgent agent({{"itemsSnapshot", [bytes = bytes](const Peer& peer, const Json&) {
                        peer.raw(bytes);
                        peer.hangUp();
                      }}});
    const Outcome outcome = runWith(agent, {"list"});
    EXPECT_EQ(outcome.status, 1) << bytes;
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(complaint), Not(HasSubstr("\x1b")))) << bytes;
  }
}

TEST(Cli, WatchPrintsEventsUntilTheAgentEnds) {
  FakeAgent agent({{"connected", [](const Peer& peer, const Json&) {
                      peer.event("agent:didChangeStatusForItems:", {{record("A", "1")}});
                      peer.event("log", {"KQLog", "two\nlines\x1b[1m", "%@", {"x"}});
                      peer.event("openURL:", {"http://a\x1b[1m/", false});
                      peer.event("unheardOf", 5);
                      peer.hangUp();
                    }}});
  const Outcome words = runWith(agent, {"watch"});
  EXPECT_THAT(words.out,
              AllOf(HasSubstr("  Changed: A\n"), HasSubstr("  KQLog: two\n"),
                    HasSubstr("\n          lines\n"), HasSubstr("Could not be opened: http://a/\n"),
                    HasSubstr("unheardOf 5\n")));
  const Outcome json = runWith(agent, {"watch", "--json"});
  EXPECT_THAT(json.out, testing::EndsWith("{\"method\":\"unheardOf\",\"params\":5}\n"));
}

TEST(Cli, StatusAndSettings) {
  FakeAgent agent(
      {{"host.version", answering({{"agent", "1.0"}, {"plugin", "1.1"}, {"protocol", 1}})},
       {"itemsSnapshot", answering({record("A", "1", "2")})},
       {"updateIsInProgress", answering(false)},
       {"lastFireDate", answering("2001-01-01T00:00:00Z")},
       {"showRevwardenNotifications", answering(true)},
       {"setShowRevwardenNotifications:", answering(nullptr)},
       {"totalUpdatesCount", answering(3)},
       {"installerQueueCount", answering(2)},
       {"updatesApplicationsFromAllLocalVolumes", answering(false)}});
  const Json status = Json::parse(runWith(agent, {"status", "--json"}).out);
  EXPECT_EQ(status["outdated"], 1);
  EXPECT_EQ(status["nextCheck"], "2001-01-02T00:00:00Z");
  EXPECT_THAT(runWith(agent, {"status"}).out,
              AllOf(HasSubstr("Next check      due now\n"), HasSubstr("Install queue   2 jobs\n")));

  EXPECT_EQ(runWith(agent, {"settings", "showRevwardenNotifications", "No"}).status, 0);
  EXPECT_THAT(agent.calls(),
              testing::Contains(Json::parse(R"(["setShowRevwardenNotifications:", [false]])")));
  EXPECT_EQ(runWith(agent, {"settings", "showRevwardenNotifications", "maybe"}).status, 2);
}

TEST(Cli, NoticesAreShownWithoutBeingAnsweredAndAnsweredOnATerminal) {
  const Json notice = {
      {"id", 7}, {"text", "Updates: A"}, {"button1Text", "OK"}, {"button2Text", nullptr}};
  FakeAgent agent({{"host.notices", answering({notice})},
                   {"host.answerNotification", [](const Peer& peer, const Json& params) {
                      peer.reply(params == Json({7, 1}));
                    }}});
  EXPECT_EQ(runWith(agent, {"notices"}).out, "7  Updates: A\n   [1 OK   0 dismiss]\n");
  for (const Json& call : agent.calls()) EXPECT_NE(call[0], "host.answerNotification");
  EXPECT_EQ(runWith(agent, {"notices", "--answer", "7", "1"}).status, 0);
  EXPECT_EQ(runWith(agent, {"notices", "--answer", "7", "0"}).status, 1) << "not open any more";

  const Outcome typed = runOnTerminal({"notices", "--socket", agent.socketPath()}, 80, "1\n");
  EXPECT_EQ(typed.status, 0);
  EXPECT_EQ(agent.calls().back(), Json({"host.answerNotification", {7, 1}}));
}

TEST(Cli, ColourAndWidthOnATerminalAndQuietWhenNobodyReads) {
  FakeAgent agent({{"itemsSnapshot", answering({record(std::string(90, 'n'), "1", "2")})}});
  setenv("TERM", "xterm", 1);
  const Outcome colour = runOnTerminal({"list", "--socket", agent.socketPath()}, 60, "");
  EXPECT_THAT(colour.out, AllOf(HasSubstr("\x1b[32mnnn"), HasSubstr("n…  1 ")));

  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  close(ends[0]);
  const Outcome unheard = runProgram({"list", "--socket", agent.socketPath()}, ends[1]);
  EXPECT_EQ(unheard.status, 1);
  EXPECT_EQ(unheard.err, "");
  close(ends[1]);
}

}  // namespace
}  // namespace revwarden
