#include "tests/core/agent_fixture.h"

namespace revwarden {
namespace {

const std::string kA = "/Applications/A.app";

TEST_F(AgentTest, FirstRefreshFillsTheCatalogue) {
  fake.disk.install(kA, "1.0", "Alpha", "org.example.alpha");
  fake.disk.install("/Applications/B.app", "2.0");
  fake.disk.bundles["/Applications/Broken.app"] = nullptr;
  fake.disk.install("/Applications/NoVersion.app", "");
  fake.disk.install("/Applications/Elsewhere.app", "1", "");
  fake.disk.install("/Users/u/.Trash/Old.app", "1.0");
  fake.disk.links["/Users/u/Link.app"] = kA;
  create();
  finishPass();

  EXPECT_EQ(events->takeNames(), "change finish list") << "the start event precedes setDelegate";
  EXPECT_EQ(agent->itemsSnapshot().size(), 3u);
  const Dictionary alpha = itemAt(kA);
  EXPECT_EQ(textAt(alpha, kKQRWApplicationNameKey), "Alpha");
  EXPECT_EQ(textAt(alpha, kKQRWBundleIdKey), "org.example.alpha");
  EXPECT_EQ(textAt(alpha, kKQRWCurrentVersionKey), "1.0");
  EXPECT_EQ(textAt(alpha, kKQRWIDKey).size(), 36u);
  EXPECT_EQ(textAt(itemAt("/Applications/B.app"), kKQRWApplicationNameKey), "B");
  EXPECT_EQ(textAt(itemAt("/Applications/Elsewhere.app"), kKQRWApplicationNameKey), "")
      << "an empty name is kept";
  EXPECT_EQ(storedItems().size(), 3u);
  EXPECT_TRUE(fake.disk.flushed.contains(kA));
}

TEST_F(AgentTest, RefreshSendsEachEventAfterItsChange) {
  fake.disk.install(kA, "1.0");
  start();
  std::vector<std::string> seen;
  events->onEvent = [&](const std::string& name, const std::vector<Dictionary>&) {
    const Array items = storedItems();
    const Dictionary* item = items[0].as<Dictionary>();
    seen.push_back(name + (agent->updateIsInProgress() ? " busy " : " idle ") +
                   std::to_string(fake.loop.pendingTimers().size()) + " timers, stored " +
                   textAt(*item, kKQRWCurrentVersionKey) +
                   (item->boolFor(kKQRWIsFavouriteKey) ? " starred" : ""));
  };
  agent->setStarred_forItemWithId(true, idAt(kA));
  const Dictionary before = itemAt(kA);
  fake.disk.install(kA, "1.1", "Renamed");
  refresh();
  for (const auto& event : events->events) EXPECT_TRUE(event.onMain) << event.name;
  EXPECT_THAT(seen, testing::ElementsAre("status idle 1 timers, stored 1.0 starred",
                                         "start busy 0 timers, stored 1.0 starred",
                                         "change busy 0 timers, stored 1.1 starred",
                                         "finish idle 1 timers, stored 1.1 starred",
                                         "list idle 1 timers, stored 1.1 starred"));
  const Dictionary after = itemAt(kA);
  EXPECT_EQ(after,
            before.with(kKQRWCurrentVersionKey, "1.1").with(kKQRWApplicationNameKey, "Renamed"));

  fake.disk.install(kA, "1.1", "Renamed again");
  refresh();
  EXPECT_EQ(itemAt(kA), after) << "the version is the same";
}

TEST_F(AgentTest, IncompleteRecordsAreRebuilt) {
  fake.disk.install(kA, "1.0");
  fake.disk.install("/Applications/B.app", "1.0");
  store({record("kept", kA).without(kKQRWCurrentVersionKey).with("extra", 1),
         record("b", "/Applications/B.app", "")});
  start();
  EXPECT_EQ(itemAt(kA), record("kept", kA).with("extra", 1));
  EXPECT_EQ(textAt(itemAt("/Applications/B.app"), kKQRWCurrentVersionKey), "1.0");
}

TEST_F(AgentTest, OnlyTheRemovalOfUnreadableApplicationsIsAnnounced) {
  fake.disk.install(kA, "1.0");
  fake.disk.install("/Applications/B.app", "1.0");
  start();
  fake.disk.bundles.erase(kA);
  const int writes = fake.defaults.writes;
  refresh();
  EXPECT_EQ(events->takeNames(), "start finish list");
  EXPECT_EQ(agent->itemsSnapshot().size(), 1u);
  EXPECT_TRUE(fake.log.lines.empty()) << "a missing path is not validated";
  EXPECT_EQ(storedItems().size(), 1u) << "the check, which the removed record causes, saves";
  EXPECT_EQ(fake.defaults.writes, writes + 1);

  fake.disk.bundles["/Applications/B.app"] = nullptr;
  refresh();
  EXPECT_EQ(events->takeNames(), "start change finish list");
  EXPECT_TRUE(agent->itemsSnapshot().empty());
}

TEST_F(AgentTest, OtherVolumesCountOnlyIfSwitchedOn) {
  fake.disk.install("/Volumes/X/Tool.app", "1.0");
  fake.disk.install(kA, "1.0");
  start();
  EXPECT_EQ(agent->itemsSnapshot().size(), 1u);
  agent->setUpdatesApplicationsFromAllLocalVolumes(true);
  refresh();
  EXPECT_EQ(agent->itemsSnapshot().size(), 2u);
  agent->setUpdatesApplicationsFromAllLocalVolumes(false);
  refresh();
  EXPECT_EQ(agent->itemsSnapshot().size(), 1u);
  EXPECT_EQ(events->takeNames(), "start finish list");
}

TEST_F(AgentTest, RecordWithALinkAsPathStaysBesideTheResolvedOne) {
  fake.disk.install(kA, "1.0");
  fake.disk.links["/Users/u/Link.app"] = kA;
  store({record("link", "/Users/u/Link.app", "0.9")});
  start();
  EXPECT_EQ(textAt(itemAt("/Users/u/Link.app"), kKQRWCurrentVersionKey), "0.9");
  EXPECT_EQ(textAt(itemAt(kA), kKQRWCurrentVersionKey), "1.0");
}

TEST_F(AgentTest, ValidationPassSendsFinishBeforeChange) {
  const std::string b = "/Applications/B.app";
  fake.disk.install(kA, "1.0");
  fake.disk.install(b, "1.0");
  start();
  const int writes = fake.defaults.writes;
  fake.disk.install(kA, "2.0");
  fake.disk.install(b, "2.0");
  agent->startUpdateInfoForItemsWithIDs({"unknown", idAt(kA), idAt(b)});
  EXPECT_TRUE(agent->updateIsInProgress());
  agent->startUpdateInfoForItemsWithIDs({});
  EXPECT_THAT(
      fake.log.lines,
      testing::ElementsAre("updateInfoForItemsWithIDs: update is already in progress. Skip."));
  ASSERT_TRUE(fake.loop.runUntil([&] { return events->count("change") > 0; }));
  EXPECT_EQ(events->takeNames(), "start finish change");
  EXPECT_EQ(fake.defaults.writes, writes);
  EXPECT_EQ(textAt(itemAt(b), kKQRWCurrentVersionKey), "2.0");

  fake.disk.bundles.erase(kA);
  agent->startUpdateInfoForItemsWithIDs({idAt(kA)});
  ASSERT_TRUE(fake.loop.runUntil([&] { return events->count("change") > 0; }));
  EXPECT_EQ(fake.log.lines.back(), "Application at path \"" + kA + "\" was not found");
  EXPECT_EQ(agent->itemsSnapshot().size(), 1u);
  events->takeNames();

  agent->startUpdateInfoForItemsWithIDs({});
  finishPass("finish");
  EXPECT_EQ(events->takeNames(), "start finish");
  EXPECT_EQ(fake.loop.pendingTimers().size(), 1u);
}

TEST_F(AgentTest, AgentReleasedDuringAPassIsDestroyedOnTheMainThread) {
  fake.disk.install(kA, "1.0");
  create();
  const std::weak_ptr<PrincipalAgent> weak = agent;
  agent.reset();
  ASSERT_TRUE(fake.loop.runUntil([&] { return weak.expired(); }));
  EXPECT_TRUE(fake.loop.pendingTimers().empty());
  EXPECT_FALSE(fake.host.wake) << "still observes wakes";
}

}  // namespace
}  // namespace revwarden
