#include "tests/core/job_fixture.h"

namespace revwarden {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

TEST_F(JobTest, EndsInStartIfNothingIsDownloaded) {
  fake.threads.refuse = true;
  make("manual", " \xC2\xA0\r\nhttp://x/U\n ");
  EXPECT_EQ(run(), "1 open http://x/U\n3 success\n");
  EXPECT_EQ(statuses, std::vector(2, SimpleAction::done))
      << "read on the main thread, after the end";
  journal.failing = "open";
  make("manual");
  EXPECT_EQ(run(), "1 open http://x/U\n3 success\n") << "the result of opening is not checked";
  make("manual", "http://x/a b");
  EXPECT_EQ(run(), "3 success\n");
  for (const char* link : {"", " \n", "http://x/a b", "http://x/\xC3\xA4", "http://x/<a>"}) {
    make("auto", link);
    EXPECT_EQ(run(), "12 failure\n") << link;
  }
  for (const char* missing :
       {"", kKQRWApplicationNameKey, kKQRWApplicationPathKey, kKQRWIDownloadLinkKey}) {
    fake.threads.refuse = !*missing;
    make("auto", kLink, missing);
    EXPECT_EQ(run(), "12 failure\n") << missing;
  }
}

TEST_F(JobTest, AcceptsContentTypesCaseSensitively) {
  const std::string log = "1 log [RWInstaller] Invalid content. Open target URL in browser.\n";
  const std::pair<const char*, bool> types[] = {{"application/x-zip-compressed", true},
                                                {"application/x-apple-diskimage", true},
                                                {"application/octet-stream2", false},
                                                {"application/Octet-Stream", false},
                                                {"application/ZIP", false}};
  for (const auto& [type, accepted] : types) {
    file.type = type;
    make();
    const std::string lines = run();
    EXPECT_EQ(lines == log + "1 open http://x/U\n3 success\n", !accepted) << lines;
    EXPECT_EQ(job->downloadPath().has_value(), accepted);
  }
  journal.failing = "open";
  make();
  EXPECT_THAT(run(), EndsWith("12 failure\n12 log [RWInstaller] failed to open http://x/U in "
                              "browser\n"));
}

TEST_F(JobTest, ReportsProgressAtMostEvery40Milliseconds) {
  file.length = -1;
  file.pieces = {1, 2, 4, 8};
  journal.onPass = [this](const std::string& line) {
    if (line == "data") fake.clock.advance(0.03);
  };
  make();
  run();
  EXPECT_EQ(statuses.size(), 9u) << "two pieces and the actions 1, 4, 5, 6, 7, 8 and 12";
  EXPECT_EQ(job->receivedBytes(), 15);
  EXPECT_EQ(job->totalBytes(), -1);
}

TEST_F(JobTest, FailedDownloadIsAlwaysReportedAsNoConnection) {
  const std::string notice =
      "2 notice Could not establish a connection to the server. Updating failed with error: ";
  for (const auto& reason : {std::optional<std::string>("cut"), std::optional<std::string>()}) {
    file.error = URLDownloadError{"connection", std::nullopt, reason};
    make();
    EXPECT_EQ(run(), notice + reason.value_or("Unexpected error") +
                         ". (in the background)\n2 interrupted\n");
    EXPECT_FALSE(job->downloadPath());
    EXPECT_EQ(job->totalBytes() + job->receivedBytes(), 0);
    EXPECT_EQ(fake.host.shown.back().button1Text, "OK");
    EXPECT_EQ(fake.host.shown.back().icon->value, "DraggingViewWarningIcon");
  }
}

TEST_F(JobTest, CancelOfADownloadEndsTheJobImmediately) {
  const std::tuple<const char*, const char*, bool, size_t> cases[] = {
      {"begin", "1 failure\n", false, 1},  // lost by the loop, but not by the response
      {"response", "1 failure\n", false, 1},
      {"data", "4 failure\n", false, 3},
      {"end", "4 failure\n", false, 3},
      {"end", "4 failure\n", true, 4}};  // a later failure is reported
  for (const auto& [heldAt, end, breaks, reports] : cases) {
    if (breaks) file.error.emplace();
    make();
    startAndHoldAt(heldAt);
    job->cancel();
    EXPECT_EQ(linesAfterStart(), end) << heldAt;
    EXPECT_EQ(job->totalBytes(), 0);
    EXPECT_FALSE(job->downloadPath());
    EXPECT_EQ(job->simpleCurrentAction(), SimpleAction::failed);
    journal.release();
    fake.threads.waitForAll(fake.loop);
    const std::string later = journal.take();
    EXPECT_EQ(later.empty(), !breaks) << heldAt;
    EXPECT_EQ(later.starts_with("2 notice ") && later.ends_with("\n2 interrupted\n"), breaks);
    EXPECT_EQ(statuses.size(), reports) << heldAt;
  }
}

TEST_F(JobTest, CancelOfAnInstallationRunsTheLoopUntilItHasEnded) {
  file.name = "U.dmg";
  fake.makeImage("/tmp/U.dmg", {"A.app"});
  journal.failing = "copy";
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"/usr/bin/unzip", "remove", "attach"},
      {"/usr/bin/hdiutil", "attach", "removal"},
      {"list /Volumes", "copy", "detach"},  // continues with a call on the main thread
      {"copy", "copy", "notice"}};
  for (const auto& [heldAt, done, undone] : cases) {
    make();
    startAndHoldAt(heldAt);
    const auto timer = fake.loop.addTimer(fake.clock.now(), [this] { journal.add("timer"); });
    fake.loop.post([this] { journal.release(); });
    job->cancel();
    const std::string lines = linesAfterStart();
    EXPECT_THAT(lines, testing::AllOf(HasSubstr("timer"), HasSubstr(done), Not(HasSubstr(undone))));
    EXPECT_TRUE(lines.ends_with("failure\n")) << heldAt;
    EXPECT_TRUE(job->downloadPath()) << "only cleared during a download";
    fake.threads.waitForAll(fake.loop);
    EXPECT_EQ(journal.take(), "") << "reported once, without a notice";
  }
}

}  // namespace
}  // namespace revwarden
