#include "catalogue/agent_settings.h"

#include "tests/core/agent_fixture.h"

namespace revwarden {
namespace {

TEST_F(AgentTest, LoadingOmitsExcludedPathsAndSavesNothing) {
  store(
      {record("trash", "/Users/u/.Trash/A.app"), record("inside", "/Applications/B.app/C.app"),
       record("network", "/net/share/D.app"), record("temporary", "/private/tmp-apps/E.app"),
       record("library", "/Volumes/X/library/F.app"), record("home", "/Users/u/Library/G.app"),
       record("gone", "/Applications/Gone.app"), Dictionary{{kKQRWIDKey, "pathless"}}, "no record",
       record("marked", "/Applications/H.app").with(kKQRWInstallerIsInQueueKey, true)},
      {{"showRevwardenNotifications", 1}, {"lastFireDate", Date{5}}});
  fake.disk.install("/Users/u/Library/G.app", "1.0");
  createWithoutRefresh();

  std::vector<std::string> ids;
  for (const LiveRecordRef& item : agent->itemsSnapshot()) {
    ids.push_back(textAt(item->contents(), kKQRWIDKey));
  }
  EXPECT_THAT(ids, testing::ElementsAre("home", "gone", "marked"))
      << "the first refresh removes a missing application";
  EXPECT_TRUE(agent->itemSnapshotWithID("marked")->boolFor(kKQRWInstallerIsInQueueKey))
      << "only saving removes job values";
  EXPECT_TRUE(agent->showRevwardenNotifications());
  EXPECT_FALSE(agent->updatesApplicationsFromAllLocalVolumes());
  EXPECT_EQ(agent->lastFireDate(), Date{5});
  EXPECT_EQ(fake.defaults.writes, 0);
}

TEST_F(AgentTest, ClearingTheDateInMemoryKeepsTheStoredOne) {
  store({}, {{"lastFireDate", Date{5}}});
  ItemCatalogue catalogue;
  ExcludedPaths excluded(fake.disk);
  AgentSettings settings(fake.platform, catalogue, excluded);
  settings.savePrefs();
  EXPECT_EQ(stored().dateFor("lastFireDate"), Date{5});
  settings.setLastFireDate(Date{6});
  EXPECT_EQ(stored().dateFor("lastFireDate"), Date{5}) << "setting it saves nothing";
}

TEST_F(AgentTest, SavingRemovesJobValuesAndKeepsUnknownKeys) {
  fake.disk.install("/Applications/A.app", "1.0");
  store({record("a", "/Applications/A.app")
             .with(kKQRWInstallerDownloadPathKey, "/d")
             .with(kKQRWInstallerResourcesPathKey, "/r")
             .with(kKQRWInstallerCurrentActionKey, 2)
             .with(kKQRWInstallerIsInQueueKey, true)
             .with(kKQRWInstallerTotalBytesKey, -1)
             .with(kKQRWInstallerReceivedBytesKey, 7)},
        {{"TotalUpdatesCount", 41}, {"unknown", "kept"}, {"lastFireDate", Date{5}}});
  createWithoutRefresh();
  agent->setStarred_forItemWithId(true, "a");

  const Array items = storedItems();
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0], Value(record("a", "/Applications/A.app")
                                .with(kKQRWIsFavouriteKey, true)
                                .with(kKQRWInstallerTotalBytesKey, -1)
                                .with(kKQRWInstallerReceivedBytesKey, 7)));
  EXPECT_TRUE(agent->itemSnapshotWithID("a")->contains(kKQRWInstallerDownloadPathKey))
      << "the record in memory keeps the job values";
  EXPECT_EQ(agent->totalUpdatesCount(), 41);
  EXPECT_EQ(textAt(stored(), "unknown"), "kept");
}

}  // namespace
}  // namespace revwarden
