#include "queue/install_queue.h"

#include "tests/core/agent_fixture.h"

namespace revwarden {
namespace {

using testing::HasSubstr;

/// Tests of the install queue. The journal also has log lines, notices, the starts of passes, and
/// events with the ids of their records, followed by "+" if they are in the queue.
class QueueTest : public AgentTest {
 protected:
  using Ids = std::vector<std::string>;

  QueueTest() {
    fake.log.onLine = [this](const std::string& line) { journal.add(line); };
    fake.host.onShow = [this](const HostNotification& notice) { journal.add(*notice.text); };
    events->onEvent = [this](const std::string& name, const std::vector<Dictionary>& items) {
      if (looksAtStore && (name == "job status" || name == "job start")) {
        const auto stored = agent->itemSnapshotWithID(textAt(items[0], kKQRWIDKey));
        EXPECT_EQ(stored == items[0], name == "job status")
            << "the event of a start precedes the change";
      }
      if (name == "job status") return static_cast<void>(++statuses);
      if (name == "change" || name == "finish") return;
      std::string line = name;
      for (const Dictionary& item : items) {
        line +=
            " " + textAt(item, kKQRWIDKey) + (item.boolFor(kKQRWInstallerIsInQueueKey) ? "+" : "-");
      }
      journal.add(line);
    };
  }
  /// A "manual" job ends in its start; others download a file.
  void catalogue(const std::vector<std::pair<std::string, std::string>>& namesAndMethods) {
    AgentTest::catalogue(namesAndMethods);
    journal.take();
  }
  std::string update(const Ids& ids) {
    agent->startUpdateItemWithIDs(ids);
    return journal.take();
  }
  std::string cancel(const Ids& ids) {
    agent->cancelUpdateItemWithIDs(ids);
    return journal.take();
  }
  std::string updateAndHoldAt(const std::string& line, const Ids& ids, int threads = 1) {
    journal.hold(line);
    agent->startUpdateItemWithIDs(ids);
    EXPECT_TRUE(fake.loop.runUntil([&] { return journal.waiting == threads; })) << line;
    return journal.take();
  }
  std::string finishJobs() {
    journal.release();
    fake.threads.waitForAll(fake.loop);
    return journal.take();
  }
  Dictionary item(const char* id) { return *agent->itemSnapshotWithID(id); }

  Journal& journal = fake.journal;
  int statuses = 0;
  bool looksAtStore = false;  // set only if no pass changes a record
  const std::string skip = "log updateInfoForItemsWithIDs: update is already in progress. Skip.\n";
  const std::string updatedA = "KQLog A was updated from 1.0 to 2.0 version successfully.\n";
  const std::string updatedB = "KQLog B was updated from 1.0 to 2.0 version successfully.\n";
  const std::string failedA = "KQLog Update of A from 1.0 to 2.0 version was failed.\n";
  const std::string prompt =
      "prompt Pellmark requires administrator privileges to perform update.\n";
};

TEST_F(QueueTest, JobsThatEndInStartAreReportedBeforeTheRequest) {
  catalogue({{"A", "manual"}, {"B", "manual"}});
  EXPECT_EQ(update({"B", "A", "A", "unknown"}),
            "queue start\njob start A+\nopen http://x/A\nstatus A-\njob stop A-\nqueue stop\n"
            "start\n" +
                updatedA +
                "queue start\njob start B+\nopen http://x/B\nstatus B-\njob stop B-\nqueue stop\n" +
                skip + updatedB + "status A+ B+\n");
  EXPECT_EQ(statuses, 0);
  finishJobs();
  EXPECT_EQ(statuses, 4) << "reported and stored after the end";
  EXPECT_EQ(item("A").integerFor(kKQRWInstallerCurrentActionKey), 4);
  EXPECT_FALSE(item("A").boolFor(kKQRWInstallerIsInQueueKey));
  EXPECT_EQ(agent->totalUpdatesCount(), 2) << "opening the page counts";
  EXPECT_EQ(update({}), "status\n");
  agent->moveItemsWithIds_toBlackList({"A"}, true);
  EXPECT_THAT(update({"A"}), HasSubstr("job start A+\n")) << "although on the black list";
  finishJobs();
}

TEST_F(QueueTest, NextJobRunsBeforeTheEndOfThePreviousOneIsProcessed) {
  catalogue({{"A", "auto"}, {"B", "manual"}, {"C", "manual"}});
  EXPECT_EQ(updateAndHoldAt("begin http://x/A", {"A", "B", "C"}),
            "queue start\njob start A+\nstatus A+ B+ C+\n");
  EXPECT_EQ(agent->installerQueueCount(), 3);
  EXPECT_EQ(update({"A", "B"}), "status\n");
  EXPECT_EQ(cancel({"C"}), "status C-\n") << "it was waiting";
  EXPECT_FALSE(item("C").boolFor(kKQRWInstallerIsInQueueKey));
  EXPECT_EQ(cancel({"C"}), "status\n");
  EXPECT_EQ(cancel({"A", "C"}),
            "status A-\njob stop A-\njob start B+\nopen http://x/B\nstatus B-\njob stop B-\n"
            "queue stop\nstart\n" +
                updatedB + skip + failedA + "status A-\n");
  EXPECT_EQ(agent->totalUpdatesCount(), 1);
  finishJobs();
}

TEST_F(QueueTest, CancelGoesFromTheLastJobToTheFirstAndMayBeNested) {
  catalogue({{"A", "auto"}, {"B", "manual"}, {"C", "manual"}});
  fake.disk.unmovable = {"/Applications/C.app"};
  updateAndHoldAt("/usr/bin/unzip", {"A", "B", "C"});
  // Runs while the first job completes its step.
  fake.loop.post([this] { agent->cancelUpdateItemWithIDs({"B", "A"}); });
  fake.loop.post([this] { journal.release(); });
  EXPECT_EQ(cancel({"A", "unknown", "C"}),
            "remove /tmp/U.unpacked\nstatus A-\njob stop A-\nqueue stop\nroot stop\nstart\n" +
                failedA + "status B- A-\nstatus C- A-\n");
  EXPECT_EQ(agent->totalUpdatesCount() + agent->installerQueueCount(), 0);
}

TEST_F(QueueTest, FailedDownloadDropsAllJobsAndKeepsTheRights) {
  catalogue({{"A", "auto"}, {"B", "manual"}, {"C", "auto"}});
  fake.disk.unmovable = {"/Applications/A.app", "/Applications/B.app"};
  fake.downloads.files["http://x/A"].error.emplace();
  EXPECT_EQ(updateAndHoldAt("response", {"A", "B", "C"}),
            prompt + "queue start\njob start A+\nstatus A+ B+ C+\n");
  for (const char* name : {"A", "B"}) {
    fake.disk.install("/Applications/" + std::string(name) + ".app", "1.5");
  }
  EXPECT_EQ(finishJobs(),
            "Could not establish a connection to the server. Updating failed with error: "
            "Unexpected error.\nlog !!!!! QUEUE INTERRUPTED !!!!!!\nstatus A- B- C-\nqueue stop\n"
            "start\n");
  EXPECT_EQ(agent->totalUpdatesCount(), 0);
  EXPECT_EQ(textAt(item("A"), kKQRWCurrentVersionKey), "1.5");
  EXPECT_EQ(textAt(item("B"), kKQRWCurrentVersionKey), "1.0");
  EXPECT_EQ(update({"B"}),
            "queue start\njob start B+\nopen http://x/B\nstatus B-\njob stop B-\nqueue stop\n"
            "root stop\nstart\n" +
                updatedB + "status B+\n");
  finishJobs();
  EXPECT_TRUE(update({"B"}).starts_with(prompt)) << "the rights ended with the run";
  finishJobs();
}

TEST_F(QueueTest, UserIsAskedForRightsOncePerRequest) {
  catalogue({{"A", "manual"}, {"B", "manual"}, {"C", "manual"}, {"D.pkg", "manual"}});
  fake.disk.unmovable = {"/Applications/A.app", "/Applications/B.app"};
  journal.failing = "prompt";
  EXPECT_THAT(update({"A", "B", "C"}), testing::StartsWith(prompt + "queue start\njob start C+\n"));
  EXPECT_EQ(events->events.back().items.size(), 1u);
  EXPECT_EQ(update({"A", "B"}), prompt + "status\n");
  EXPECT_EQ(update({"D.pkg"}), prompt + "status\n") << "a package, though movable";
  for (const char* link : {"http://x/a.mPkg", "http://x/a.pkg?x=1", "http://x/a.pkg\n"}) {
    const Dictionary offer = {{kKQRWIDownloadLinkKey, link}};
    EXPECT_EQ(itemNeedToBeUpdatedThroughPkgFile({{kKQRWAvailableVersionInfoKey, offer}}),
              std::string_view(link).ends_with("mPkg"));
  }
}

TEST_F(QueueTest, EndReportedTwiceIsHandledTwice) {
  catalogue({{"A", "downloadAndMount"}, {"B", "auto"}});
  const std::string lines = updateAndHoldAt("begin http://x/B", {"A", "B"}, 2);
  const std::string end = "status A-\njob stop A-\njob start B+\n";
  EXPECT_NE(lines.find(end), lines.rfind(end));
  EXPECT_NE(lines.find(updatedA), lines.rfind(updatedA));
  EXPECT_EQ(agent->totalUpdatesCount(), 2);
  finishJobs();
  EXPECT_FALSE(agent->installerQueueIsInProgress());
}

TEST_F(QueueTest, RecordFollowsItsJobAndThenTheDisk) {
  looksAtStore = true;
  catalogue({{"B", "auto"}, {"A", "auto"}});
  fake.disk.unmovable = {"/Applications/B.app"};  // A must not use the rights of B
  fake.makeArchive({"A.app"});
  updateAndHoldAt("copy", {"A", "B"});
  ASSERT_TRUE(fake.loop.runUntil([&] { return !agent->updateIsInProgress(); })) << "the pass for B";
  EXPECT_EQ(item("A").integerFor(kKQRWInstallerCurrentActionKey), 3);
  fake.disk.install("/Applications/A.app", "2.0");
  finishJobs();
  EXPECT_EQ(textAt(item("A"), kKQRWCurrentVersionKey), "2.0");
  EXPECT_EQ(item("A").integerFor(kKQRWInstallerReceivedBytesKey), 10);
  EXPECT_EQ(item("A").integerFor(kKQRWInstallerTotalBytesKey), 10);
  EXPECT_EQ(textAt(item("A"), kKQRWInstallerDownloadPathKey), "/tmp/U.zip");
  EXPECT_EQ(textAt(item("A"), kKQRWInstallerResourcesPathKey), "/tmp/U.unpacked");
}

TEST_F(QueueTest, JobContinuesWithoutItsRecordOrItsAgent) {
  catalogue({{"A", "downloadOnly"}});
  updateAndHoldAt("begin", {"A"});
  fake.disk.bundles.erase("/Applications/A.app");
  agent->startUpdateInfoForItemsWithIDs({"A"});
  ASSERT_TRUE(fake.loop.runUntil([&] { return !agent->itemSnapshotWithID("A"); }));
  EXPECT_THAT(finishJobs(), HasSubstr("status\nqueue stop\nstart\nKQLog (null) was updated from "
                                      "(null) to (null) version successfully.\n"));
  catalogue({{"A", "auto"}});
  updateAndHoldAt("/usr/bin/unzip", {"A"});
  agent = nullptr;
  EXPECT_TRUE(finishJobs().ends_with("Failed to update application A\n"));
}

}  // namespace
}  // namespace revwarden
