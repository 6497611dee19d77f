#include "tests/core/agent_fixture.h"

namespace revwarden {
namespace {

/// An agent whose outcomes are compared as lines: "A failed copyFailed trashed". The applications
/// are A to C, with administrator rights needed for none.
class OutcomesTest : public AgentTest {
 protected:
  using Ids = std::vector<std::string>;

  /// Catalogues A, B and C, all with this method; their downloads come from http://x/NAME.
  void catalogue(const char* method = "auto", const std::string& extension = "") {
    if (agent) TearDown();
    std::vector<Value> items;
    for (const std::string name : {"A", "B", "C"}) {
      const Dictionary offer = {{kKQRWIDownloadLinkKey, "http://x/" + name + extension},
                                {kKQRWIUpdateMethodKey, method}};
      world.disk.install("/Applications/" + name + ".app", "1.0");
      items.emplace_back(
          record(name, "/Applications/" + name + ".app").with(kKQRWAvailableVersionInfoKey, offer));
    }
    store(std::move(items), {{"lastFireDate", world.clock.now()}});
    createWithoutRefresh();
  }
  std::string update(const Ids& ids = {"A"}) {
    agent->startUpdateItemWithIDs(ids);
    return finish();
  }
  std::string updateAndCancelAt(const std::string& line) {
    journal.hold(line);
    agent->startUpdateItemWithIDs({"A"});
    EXPECT_TRUE(world.loop.runUntil([&] { return journal.waiting > 0; })) << line;
    world.loop.post([this] { journal.release(); });
    agent->cancelUpdateItemWithIDs({"A"});
    return finish();
  }
  std::string finish() {
    world.threads.waitForAll(world.loop);
    EXPECT_TRUE(agent->openJobIDs().empty());
    return outcomes();
  }
  std::string outcomes() {
    constexpr const char* kKinds[] = {"updated",   "packageRun", "handedOver", "failed",
                                      "cancelled", "dropped",    "refused"};
    std::string lines;
    for (const JobOutcome& one : std::exchange(world.outcomes.jobs, {})) {
      const bool explained =
          one.kind != JobOutcome::Kind::updated && one.kind != JobOutcome::Kind::packageRun;
      EXPECT_EQ(one.code.has_value() && !one.reason.value_or("").empty(), explained);
      EXPECT_EQ(one.path, "/Applications/" + one.name + ".app");
      lines += one.name + " " + kKinds[static_cast<int>(one.kind)] + " " + one.code.value_or("-") +
               (one.trashed ? " trashed" : "") + (one.started ? "" : " unstarted") + "\n";
    }
    return lines;
  }
  void archive(const std::vector<std::string>& names) {
    world.machine.archives = {"/tmp/U.zip"};
    world.machine.folders["/tmp/U.unpacked"] = names;
    world.disk.install("/tmp/U.unpacked/A.app", "2.0");
  }

  Journal& journal = world.journal;
  FakeDownloads::File& file = world.downloads.files["http://x/A"];
};

TEST_F(OutcomesTest, SayWhatIsOnDisk) {
  catalogue();
  archive({"A.app"});
  journal.onPass = [this](const std::string& line) {
    if (line.starts_with("copy")) world.disk.install("/Applications/A.app", "2.0");
  };
  EXPECT_EQ(update(), "A updated - trashed\n");
  EXPECT_EQ(updateAndCancelAt("copy"), "A updated - trashed\n") << "the copy was completed";
  EXPECT_EQ(updateAndCancelAt("trash"), "A updated - trashed\n");
  journal.failing = "copy";
  EXPECT_EQ(updateAndCancelAt("copy"), "A failed copyFailed trashed\n") << "cancelled, but gone";
  journal.failing.clear();
  EXPECT_EQ(updateAndCancelAt("/usr/bin/unzip"), "A cancelled byUser\n");
  EXPECT_EQ(updateAndCancelAt("data"), "A cancelled byUser\n");
  world.disk.install("/Applications/A.app", "1.0");
  agent->startUpdateItemWithIDs({"A"});
  world.threads.waitForAll(world.loop);
  const JobOutcome outcome = world.outcomes.jobs.at(0);
  EXPECT_EQ(outcome.from, "1.0");
  EXPECT_EQ(outcome.to, "2.0");
  EXPECT_EQ(outcome.trashed, "/Trash/old");
  outcomes();

  file.status = 404;
  EXPECT_EQ(update(), "A updated - trashed\n") << "whatever the status";
  journal.failing = "trash";
  EXPECT_EQ(update(), "A failed httpStatus\n");
  file.status = 200;
  EXPECT_EQ(update(), "A failed trashFailed\n");
  journal.failing = "copy";
  EXPECT_EQ(update(), "A failed copyFailed trashed\n");
  world.disk.bundles["/tmp/U.unpacked/A.app"] = nullptr;
  EXPECT_EQ(update(), "A failed unreadableApplication trashed\n");
  journal.failing.clear();
  EXPECT_EQ(update(), "A failed unreadableApplication trashed\n")
      << "it was installed all the same";
  archive({"Read me"});
  world.disk.bundles.erase("/tmp/U.unpacked/A.app");
  EXPECT_EQ(update(), "A failed noApplication\n");
  archive({"Setup.pkg"});
  world.disk.bundles.erase("/tmp/U.unpacked/A.app");
  EXPECT_EQ(update(), "A failed nothingInstalled\n") << "counted as a success";
  world.machine.archives.clear();
  world.machine.unzipStatus = 50;
  EXPECT_EQ(update(), "A failed noSpace\n");
}

TEST_F(OutcomesTest, SayWhatWasHandedOver) {
  catalogue("manual");
  EXPECT_EQ(update(), "A handedOver pageOpened\n");
  journal.failing = "open";
  EXPECT_EQ(update({"A", "B"}), "A failed pageNotOpened\nB failed pageNotOpened\n");
  catalogue();
  file.type = "text/html";
  EXPECT_EQ(update(), "A failed pageNotOpened\n");
  journal.failing.clear();
  EXPECT_EQ(update(), "A handedOver unsupportedContent\n");
  file.status = 500;
  EXPECT_EQ(update(), "A failed httpStatus\n") << "though the error page was opened";
  file = {};
  catalogue("downloadOnly");
  EXPECT_EQ(update(), "A handedOver fileRevealed\n");
  journal.failing = "select";
  EXPECT_EQ(update(), "A failed nothingInstalled\n");
  journal.failing.clear();
  catalogue("downloadAndMount");
  EXPECT_EQ(update(), "A failed nothingInstalled\n");
  world.machine.images = {"/home/u/Downloads/U.zip"};
  EXPECT_EQ(update(), "A handedOver imageOpened\n") << "reported twice by the job";
  catalogue();
  file.name = "U.dmg";
  world.machine.images = {"/tmp/U.dmg"};
  world.machine.folders["/Volumes/hidden"] = {"Setup.pkg"};
  EXPECT_EQ(update(), "A handedOver packageOpened\n");
  journal.failing = "open";
  EXPECT_EQ(update(), "A failed packageNotOpened\n");
}

TEST_F(OutcomesTest, CoverRequestsThatNeverRanAndRights) {
  catalogue();
  file.error.emplace();
  journal.hold("begin http://x/A");
  agent->startUpdateItemWithIDs({"A", "B", "C"});
  EXPECT_EQ(agent->openJobIDs(), (Ids{"A", "B", "C"}));
  agent->cancelUpdateItemWithIDs({"C"});
  journal.release();
  EXPECT_EQ(finish(),
            "C cancelled byUser unstarted\nA failed connection\n"
            "B dropped queueInterrupted unstarted\n");
  catalogue("", "");
  world.threads.refuse = true;
  EXPECT_EQ(update(), "A failed noThread\n");
  world.threads.refuse = false;

  catalogue("auto", ".pkg");
  journal.failing = "prompt";
  EXPECT_EQ(update({"A", "B"}),
            "A refused notAuthorized unstarted\nB refused notAuthorized unstarted\n");
  journal.failing = "root run";
  world.downloads.files["http://x/A.pkg"].name = "A.pkg";
  EXPECT_EQ(update(), "A failed packageFailed\n");
  journal.failing.clear();
  EXPECT_EQ(update(), "A packageRun -\n");
}

TEST_F(OutcomesTest, AreReportedWhenTheAgentEnds) {
  const auto end = [this] { std::thread([this] { agent->reportOpenJobsAsEnded(); }).join(); };
  catalogue();
  archive({"A.app"});
  journal.hold("copy");
  agent->startUpdateItemWithIDs({"A", "B"});
  ASSERT_TRUE(world.loop.runUntil([&] { return journal.waiting > 0; }));
  end();
  EXPECT_EQ(outcomes(), "A failed agentEnding trashed\nB dropped agentEnding unstarted\n");
  journal.release();
  EXPECT_EQ(finish(), "") << "each only once";

  catalogue("auto", ".pkg");
  journal.onPass = [&](const std::string& line) {
    if (line.starts_with("prompt")) end();
  };
  EXPECT_EQ(update({"A", "B"}),
            "A dropped agentEnding unstarted\nB dropped agentEnding unstarted\n")
      << "while the user is asked";
}

TEST_F(OutcomesTest, OfChecksCountTheApplicationsAskedAbout) {
  const auto check = [this](bool byUser = false) {
    world.outcomes.checks.clear();
    byUser ? agent->startFullRescan() : agent->startUpdateApplicationsList();
    events->takeNames();
    finishPass();
    return world.outcomes.checks.at(0);
  };
  using Kind = CheckOutcome::Kind;
  for (const char* path : {"/Applications/A.app", "/Applications/B.app"})
    world.disk.install(path, "1.0");
  start();
  world.service.answer = [](const URLRequest&) { return std::optional<std::string>(); };
  CheckOutcome outcome = check(true);
  EXPECT_EQ(outcome.kind, Kind::unreachable);
  EXPECT_TRUE(outcome.byUser && outcome.reason && !outcome.status);
  for (const char* body : {"no XML", "<result/>"}) {
    serve(body);
    outcome = check(true);
    EXPECT_EQ(outcome.kind, Kind::invalid) << body;
    EXPECT_EQ(outcome.status, 200);
    EXPECT_TRUE(outcome.reason);
  }
  serve(answer({{"org.example.A", "2.0"}, {"org.example.unknown", "2.0"}}));
  world.clock.advance(200'000);
  outcome = check();
  EXPECT_EQ(outcome.kind, Kind::answered);
  EXPECT_EQ(outcome.asked, 2);
  EXPECT_EQ(outcome.answered, 1);
  EXPECT_FALSE(outcome.byUser || outcome.reason);
  serve(answer({{"org.example.A", "2.0"}, {"org.example.B", "2.0"}}));
  check(true);
  EXPECT_EQ(check().kind, Kind::answered) << "B has no date of a check";
}

}  // namespace
}  // namespace revwarden
