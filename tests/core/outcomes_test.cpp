#include "tests/core/agent_fixture.h"

namespace revwarden {
namespace {

/// Tests of outcomes, which are compared as lines such as "A failed copyFailed trashed". The
/// applications are A, B and C.
class OutcomesTest : public AgentTest {
 protected:
  using Ids = std::vector<std::string>;

  void catalogue(const char* method = "auto", const std::string& extension = "") {
    if (agent) TearDown();
    AgentTest::catalogue({{"A", method}, {"B", method}, {"C", method}}, extension);
  }
  std::string update(const Ids& ids = {"A"}) {
    agent->startUpdateItemWithIDs(ids);
    return finish();
  }
  std::string updateAndCancelAt(const std::string& line) {
    journal.hold(line);
    agent->startUpdateItemWithIDs({"A"});
    EXPECT_TRUE(fake.loop.runUntil([&] { return journal.waiting > 0; })) << line;
    fake.loop.post([this] { journal.release(); });
    agent->cancelUpdateItemWithIDs({"A"});
    return finish();
  }
  std::string finish() {
    fake.threads.waitForAll(fake.loop);
    EXPECT_TRUE(agent->openJobIDs().empty());
    return outcomes();
  }
  std::string outcomes() {
    constexpr const char* kKinds[] = {"updated",   "packageRun", "handedOver", "failed",
                                      "cancelled", "dropped",    "refused"};
    std::string lines;
    for (const JobOutcome& one : std::exchange(fake.outcomes.jobs, {})) {
      const bool explained =
          one.kind != JobOutcome::Kind::updated && one.kind != JobOutcome::Kind::packageRun;
      EXPECT_EQ(one.code.has_value() && !one.reason.value_or("").empty(), explained);
      EXPECT_EQ(one.path, "/Applications/" + one.name + ".app");
      lines += one.name + " " + kKinds[static_cast<int>(one.kind)] + " " + one.code.value_or("-") +
               (one.trashed ? " trashed" : "") + (one.started ? "" : " unstarted") + "\n";
    }
    return lines;
  }

  Journal& journal = fake.journal;
  FakeDownloads::File& file = fake.downloads.files["http://x/A"];
};

TEST_F(OutcomesTest, DescribeWhatIsOnDisk) {
  catalogue();
  fake.makeArchive({"A.app"});
  journal.onPass = [this](const std::string& line) {
    if (line.starts_with("copy")) fake.disk.install("/Applications/A.app", "2.0");
  };
  EXPECT_EQ(update(), "A updated - trashed\n");
  EXPECT_EQ(updateAndCancelAt("copy"), "A updated - trashed\n") << "the copy is completed";
  EXPECT_EQ(updateAndCancelAt("trash"), "A updated - trashed\n");
  journal.failing = "copy";
  EXPECT_EQ(updateAndCancelAt("copy"), "A failed copyFailed trashed\n") << "cancelled, but gone";
  journal.failing.clear();
  EXPECT_EQ(updateAndCancelAt("/usr/bin/unzip"), "A cancelled byUser\n");
  EXPECT_EQ(updateAndCancelAt("data"), "A cancelled byUser\n");
  fake.disk.install("/Applications/A.app", "1.0");
  agent->startUpdateItemWithIDs({"A"});
  fake.threads.waitForAll(fake.loop);
  const JobOutcome outcome = fake.outcomes.jobs.at(0);
  EXPECT_EQ(outcome.from, "1.0");
  EXPECT_EQ(outcome.to, "2.0");
  EXPECT_EQ(outcome.trashed, "/Trash/old");
  outcomes();

  file.status = 404;
  EXPECT_EQ(update(), "A updated - trashed\n") << "despite the status";
  journal.failing = "trash";
  EXPECT_EQ(update(), "A failed httpStatus\n");
  file.status = 200;
  EXPECT_EQ(update(), "A failed trashFailed\n");
  journal.failing = "copy";
  EXPECT_EQ(update(), "A failed copyFailed trashed\n");
  fake.disk.bundles["/tmp/U.unpacked/A.app"] = nullptr;
  EXPECT_EQ(update(), "A failed unreadableApplication trashed\n");
  journal.failing.clear();
  EXPECT_EQ(update(), "A failed unreadableApplication trashed\n") << "it was installed";
  fake.makeArchive({"Read me"});
  fake.disk.bundles.erase("/tmp/U.unpacked/A.app");
  EXPECT_EQ(update(), "A failed noApplication\n");
  fake.makeArchive({"Setup.pkg"});
  fake.disk.bundles.erase("/tmp/U.unpacked/A.app");
  EXPECT_EQ(update(), "A failed nothingInstalled\n") << "although it counts as a success";
  fake.machine.archives.clear();
  fake.machine.unzipStatus = 50;
  EXPECT_EQ(update(), "A failed noSpace\n");
}

TEST_F(OutcomesTest, DescribeWhatWasHandedOver) {
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
  EXPECT_EQ(update(), "A failed httpStatus\n") << "although the error page was opened";
  file = {};
  catalogue("downloadOnly");
  EXPECT_EQ(update(), "A handedOver fileRevealed\n");
  journal.failing = "select";
  EXPECT_EQ(update(), "A failed nothingInstalled\n");
  journal.failing.clear();
  catalogue("downloadAndMount");
  EXPECT_EQ(update(), "A failed nothingInstalled\n");
  fake.machine.images = {"/home/u/Downloads/U.zip"};
  EXPECT_EQ(update(), "A handedOver imageOpened\n") << "reported twice by the job";
  catalogue();
  file.name = "U.dmg";
  fake.makeImage("/tmp/U.dmg", {"Setup.pkg"});
  EXPECT_EQ(update(), "A handedOver packageOpened\n");
  journal.failing = "open";
  EXPECT_EQ(update(), "A failed packageNotOpened\n");
}

TEST_F(OutcomesTest, CoverRequestsThatDidNotRun) {
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
  fake.threads.refuse = true;
  EXPECT_EQ(update(), "A failed noThread\n");
  fake.threads.refuse = false;

  catalogue("auto", ".pkg");
  journal.failing = "prompt";
  EXPECT_EQ(update({"A", "B"}),
            "A refused notAuthorized unstarted\nB refused notAuthorized unstarted\n");
  journal.failing = "root run";
  fake.downloads.files["http://x/A.pkg"].name = "A.pkg";
  EXPECT_EQ(update(), "A failed packageFailed\n");
  journal.failing.clear();
  EXPECT_EQ(update(), "A packageRun -\n");
}

TEST_F(OutcomesTest, AreReportedWhenTheAgentEnds) {
  const auto end = [this] { std::thread([this] { agent->reportOpenJobsAsEnded(); }).join(); };
  catalogue();
  fake.makeArchive({"A.app"});
  journal.hold("copy");
  agent->startUpdateItemWithIDs({"A", "B"});
  ASSERT_TRUE(fake.loop.runUntil([&] { return journal.waiting > 0; }));
  end();
  EXPECT_EQ(outcomes(), "A failed agentEnding trashed\nB dropped agentEnding unstarted\n");
  journal.release();
  EXPECT_EQ(finish(), "") << "reported twice";

  catalogue("auto", ".pkg");
  journal.onPass = [&](const std::string& line) {
    if (line.starts_with("prompt")) end();
  };
  EXPECT_EQ(update({"A", "B"}),
            "A dropped agentEnding unstarted\nB dropped agentEnding unstarted\n")
      << "while the user is asked";
}

TEST_F(OutcomesTest, OfChecksCountTheApplicationsInTheRequest) {
  const auto check = [this](bool byUser = false) {
    fake.outcomes.checks.clear();
    byUser ? agent->startFullRescan() : agent->startUpdateApplicationsList();
    events->takeNames();
    finishPass();
    return fake.outcomes.checks.at(0);
  };
  using Kind = CheckOutcome::Kind;
  for (const char* path : {"/Applications/A.app", "/Applications/B.app"})
    fake.disk.install(path, "1.0");
  start();
  fake.service.answer = [](const URLRequest&) { return std::optional<std::string>(); };
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
  fake.clock.advance(200'000);
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
