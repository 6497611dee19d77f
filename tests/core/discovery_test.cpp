#include "tests/core/agent_fixture.h"

namespace revwarden {
namespace {

const std::string kA = "/Applications/A.app";

TEST_F(AgentTest, TheFirstRefreshFillsTheCatalogue) {
  world.disk.install(kA, "1.0", "Alpha", "org.example.alpha");
  world.disk.install("/Applications/B.app", "2.0");
  world.disk.bundles["/Applications/Broken.app"] = nullptr;
  world.disk.install("/Applications/NoVersion.app", "");
  world.disk.install("/Applications/Elsewhere.app", "1", "");
  world.disk.install("/Users/u/.Trash/Old.app", "1.0");
  world.disk.links["/Users/u/Link.app"] = kA;
  create();
  finishPass();

  EXPECT_EQ(events->takeNames(), "change finish list")
      << "the start came before there was a delegate";
  EXPECT_EQ(agent->itemsSnapshot().size(), 3u);
  const Dictionary alpha = itemAt(kA);
  EXPECT_EQ(textAt(alpha, kKQRWApplicationNameKey), "Alpha");
  EXPECT_EQ(textAt(alpha, kKQRWBundleIdKey), "org.example.alpha");
  EXPECT_EQ(textAt(alpha, kKQRWCurrentVersionKey), "1.0");
  EXPECT_EQ(textAt(alpha, kKQRWIDKey).size(), 36u);
  EXPECT_EQ(textAt(itemAt("/Applications/B.app"), kKQRWApplicationNameKey), "B");
  EXPECT_EQ(textAt(itemAt("/Applications/Elsewhere.app"), kKQRWApplicationNameKey), "")
      << "an empty name is a name";
  EXPECT_EQ(storedItems().size(), 3u);
  EXPECT_TRUE(world.disk.flushed.contains(kA));
}

TEST_F(AgentTest, AnEventComesWhenItsStateIsThere) {
  world.disk.install(kA, "1.0");
  start();
  std::vector<std::string> seen;
  events->onEvent = [&](const std::string& name, const std::vector<Dictionary>&) {
    const Array items = storedItems();
    const Dictionary* item = items[0].as<Dictionary>();
    seen.push_back(name + (agent->updateIsInProgress() ? " busy " : " idle ") +
                   std::to_string(world.loop.pendingTimers().size()) + " timers, stored " +
                   textAt(*item, kKQRWCurrentVersionKey) +
                   (item->boolFor(kKQRWIsFavouriteKey) ? " starred" : ""));
  };
  world.disk.install(kA, "2.0");
  refresh();
  agent->setStarred_forItemWithId(true, idAt(kA));
  EXPECT_THAT(seen, testing::ElementsAre(
                        "start busy 0 timers, stored 1.0", "change busy 0 timers, stored 2.0",
                        "finish idle 1 timers, stored 2.0", "list idle 1 timers, stored 2.0",
                        "status idle 1 timers, stored 2.0 starred"));
}

TEST_F(AgentTest, ARefreshSendsItsEventsInOrderAndOnTheMainThread) {
  world.disk.install(kA, "1.0");
  start();
  refresh();
  EXPECT_EQ(events->takeNames(), "start finish list");

  world.disk.install(kA, "1.1", "Renamed");
  const Dictionary before = itemAt(kA);
  agent->setStarred_forItemWithId(true, idAt(kA));
  refresh();
  for (const auto& event : events->events) EXPECT_TRUE(event.onMain) << event.name;
  EXPECT_EQ(events->takeNames(), "start change finish list");
  const Dictionary after = itemAt(kA);
  EXPECT_EQ(textAt(after, kKQRWIDKey), textAt(before, kKQRWIDKey));
  EXPECT_EQ(textAt(after, kKQRWCurrentVersionKey), "1.1");
  EXPECT_EQ(textAt(after, kKQRWApplicationNameKey), "Renamed");
  EXPECT_TRUE(after.boolFor(kKQRWIsFavouriteKey));

  world.disk.install(kA, "1.1", "Renamed again");
  refresh();
  EXPECT_EQ(itemAt(kA), after) << "the same version leaves the record alone";
}

TEST_F(AgentTest, RecordsThatAreHalfThereAreRebuilt) {
  world.disk.install(kA, "1.0");
  world.disk.install("/Applications/B.app", "1.0");
  store({record("kept", kA).without(kKQRWCurrentVersionKey).with("extra", 1),
         record("b", "/Applications/B.app", "")});
  start();
  EXPECT_EQ(itemAt(kA), record("kept", kA).with("extra", 1));
  EXPECT_EQ(textAt(itemAt("/Applications/B.app"), kKQRWCurrentVersionKey), "1.0");
}

TEST_F(AgentTest, VanishedApplicationsLeaveSilentlyAndUnreadableOnesLoudly) {
  world.disk.install(kA, "1.0");
  world.disk.install("/Applications/B.app", "1.0");
  start();
  world.disk.bundles.erase(kA);
  const int writes = world.defaults.writes;
  refresh();
  EXPECT_EQ(events->takeNames(), "start finish list");
  EXPECT_EQ(agent->itemsSnapshot().size(), 1u);
  EXPECT_TRUE(world.log.lines.empty()) << "a path that no longer resolves is not even validated";
  EXPECT_EQ(storedItems().size(), 1u) << "the check that the vanished record called for saved";
  EXPECT_EQ(world.defaults.writes, writes + 1);

  world.disk.bundles["/Applications/B.app"] = nullptr;
  refresh();
  EXPECT_EQ(events->takeNames(), "start change finish list");
  EXPECT_TRUE(agent->itemsSnapshot().empty());
}

TEST_F(AgentTest, OtherVolumesCountOnlyWhenAskedFor) {
  world.disk.install("/Volumes/X/Tool.app", "1.0");
  world.disk.install(kA, "1.0");
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

TEST_F(AgentTest, ARecordUnderALinkStaysBesideTheResolvedOne) {
  world.disk.install(kA, "1.0");
  world.disk.links["/Users/u/Link.app"] = kA;
  store({record("link", "/Users/u/Link.app", "0.9")});
  start();
  EXPECT_EQ(textAt(itemAt("/Users/u/Link.app"), kKQRWCurrentVersionKey), "0.9");
  EXPECT_EQ(textAt(itemAt(kA), kKQRWCurrentVersionKey), "1.0");
}

TEST_F(AgentTest, AValidationPassFinishesBeforeItTellsTheChange) {
  const std::string b = "/Applications/B.app";
  world.disk.install(kA, "1.0");
  world.disk.install(b, "1.0");
  start();
  validating = true;
  const int writes = world.defaults.writes;
  world.disk.install(kA, "2.0");
  world.disk.install(b, "2.0");
  agent->startUpdateInfoForItemsWithIDs({"unknown", idAt(kA), idAt(b)});
  EXPECT_TRUE(agent->updateIsInProgress());
  agent->startUpdateInfoForItemsWithIDs({});
  EXPECT_THAT(
      world.log.lines,
      testing::ElementsAre("updateInfoForItemsWithIDs: update is already in progress. Skip."));
  ASSERT_TRUE(world.loop.runUntil([&] { return events->count("change") > 0; }));
  EXPECT_EQ(events->takeNames(), "start finish change");
  EXPECT_EQ(world.defaults.writes, writes) << "the next save stores it";
  EXPECT_EQ(textAt(itemAt(b), kKQRWCurrentVersionKey), "2.0") << "every one is validated";

  world.disk.bundles.erase(kA);
  agent->startUpdateInfoForItemsWithIDs({idAt(kA)});
  ASSERT_TRUE(world.loop.runUntil([&] { return events->count("change") > 0; }));
  EXPECT_EQ(world.log.lines.back(), "Application at path \"" + kA + "\" was not found");
  EXPECT_EQ(agent->itemsSnapshot().size(), 1u);
  events->takeNames();

  agent->startUpdateInfoForItemsWithIDs({});
  finishPass();
  EXPECT_EQ(events->takeNames(), "start finish");
  EXPECT_EQ(world.loop.pendingTimers().size(), 1u);
}

TEST_F(AgentTest, AnAgentThatIsLetGoDuringAPassEndsOnTheMainThread) {
  world.disk.install(kA, "1.0");
  create();
  const std::weak_ptr<PrincipalAgent> weak = agent;
  agent.reset();
  ASSERT_TRUE(world.loop.runUntil([&] { return weak.expired(); }));
  EXPECT_TRUE(world.loop.pendingTimers().empty());
  EXPECT_FALSE(world.host.wake) << "no longer listens for wakes";
}

}  // namespace
}  // namespace revwarden
