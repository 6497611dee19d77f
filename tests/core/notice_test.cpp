#include "check/new_updates_notice.h"

#include "tests/core/agent_fixture.h"

namespace revwarden {
namespace {

class NoticeTest : public AgentTest, private NewUpdatesNotice::Mediator {
 protected:
  void add(const std::string& name, const std::string& current, const std::string& available,
           const std::string& notified = "", bool listed = false) {
    Dictionary item =
        record(name, "/Applications/" + name + ".app", current)
            .with(kKQRWAvailableVersionInfoKey, Dictionary{{kKQRWIVersionKey, available}})
            .with(kKQRWIsInBlackList, listed);
    if (!notified.empty()) item = item.with(kKQRWNotifiedVersionKey, notified);
    catalogue.appendItem(item);
  }
  std::string notified(const std::string& id) {
    return textAt(*catalogue.itemSnapshotWithID(id), kKQRWNotifiedVersionKey);
  }
  std::string listedNames() {
    const std::string text = *world.host.shown.back().text;
    return text.substr(text.find('|') + 1);
  }
  void startUpdatePellmark() override {
    ++productUpdates;
    shownBefore = world.host.shown.size();
  }
  bool hasRootTask() override { return rootTask; }
  std::shared_ptr<NotificationTarget> notificationTarget() override { return target; }

  ItemCatalogue catalogue;
  ExcludedPaths excluded{world.disk};
  AgentSettings settings{world.platform, catalogue, excluded};
  NewUpdatesNotice notice{world.platform, catalogue, settings, *this};
  std::shared_ptr<NotificationTarget> target;
  bool rootTask = false;
  int productUpdates = 0;
  size_t shownBefore = 0;
};

TEST_F(NoticeTest, TellsEachNewVersionOnce) {
  settings.setShowRevwardenNotifications(true);
  add("New", "1.9", "1.10");
  add("Older", "1.2", "1.1");
  add("Equal", "1.2", "1.2.0");
  add("Told", "1.0", "1.1", "1.1");
  add("TakenBack", "1.0", "1.1", "1.2");
  add("Unreadable", "1.0", "1.1", "  ");
  add("Ignored", "1.0", "1.1", "", true);
  add("NoOffer", "1.0", "");
  const int writes = world.defaults.writes;
  const LiveRecords before = catalogue.itemsSnapshot();
  notice.notifyNewUpdates();
  EXPECT_EQ(catalogue.itemsSnapshot(), before) << "marked in place";
  ASSERT_EQ(world.host.shown.size(), 1u);
  EXPECT_EQ(*world.host.shown[0].text,
            "Updates available for %?1$u applications: %2$@. Open Pellmark to install updates."
            "|3|New, TakenBack, Unreadable");
  EXPECT_EQ(world.host.shown[0].button1Action, "openRevwarden");
  EXPECT_EQ(world.host.shown[0].button1Text, "OK");
  EXPECT_EQ(world.host.shown[0].button2Text, "Cancel");
  EXPECT_FALSE(world.host.shown[0].icon);
  EXPECT_EQ(world.defaults.writes, writes + 1);
  EXPECT_EQ(notified("New"), "1.10");
  EXPECT_EQ(notified("Ignored"), "1.1") << "marked although not listed";
  EXPECT_EQ(notified("Older"), "(absent)");

  notice.notifyNewUpdates();
  EXPECT_EQ(world.host.shown.size(), 1u);
  EXPECT_EQ(world.defaults.writes, writes + 1);
}

TEST_F(NoticeTest, NamesFourAndCountsAll) {
  settings.setShowRevwardenNotifications(true);
  for (const char* name : {"B", "C", "D", "E"}) add(name, "1", "2");
  notice.notifyNewUpdates();
  EXPECT_EQ(listedNames(), "4|B, C, D, E");
  for (const char* name : {"F", "G", "H", "I", "J", "K"}) add(name, "1", "2");
  notice.notifyNewUpdates();
  EXPECT_EQ(listedNames(), "6|F, G, H, I...");
}

TEST_F(NoticeTest, WhatIsNotShownNowIsNeverShown) {
  add("A", "1", "2");
  notice.notifyNewUpdates();
  settings.setShowRevwardenNotifications(true);
  notice.notifyNewUpdates();
  EXPECT_TRUE(world.host.shown.empty());
  EXPECT_EQ(notified("A"), "2");
}

TEST_F(NoticeTest, TheHostProductUpdatesItself) {
  add("Pellmark", "1", "2", "", true);
  notice.notifyNewUpdates();
  EXPECT_EQ(productUpdates, 1) << "also on the black list and with notices off";
  EXPECT_TRUE(world.host.shown.empty());

  settings.setShowRevwardenNotifications(true);
  world.disk.movable = false;
  catalogue.setObjectThreadSave_forKey_forItemWithID("1.5", kKQRWNotifiedVersionKey, "Pellmark");
  notice.notifyNewUpdates();
  EXPECT_EQ(productUpdates, 2);
  ASSERT_EQ(world.host.shown.size(), 1u) << "never in the summary";
  EXPECT_EQ(shownBefore, 1u);
  EXPECT_EQ(*world.host.shown[0].text, "New version of Pellmark is available!");
  EXPECT_EQ(world.host.shown[0].icon->value, "DraggingViewNotificationIcon");
  EXPECT_FALSE(world.host.shown[0].button1Action);

  rootTask = true;
  catalogue.setObjectThreadSave_forKey_forItemWithID("1.5", kKQRWNotifiedVersionKey, "Pellmark");
  notice.notifyNewUpdates();
  EXPECT_EQ(productUpdates, 3);
  EXPECT_EQ(world.host.shown.size(), 1u) << "rights are at hand";
}

}  // namespace
}  // namespace revwarden
