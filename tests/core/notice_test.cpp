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
    const std::string text = *fake.host.shown.back().text;
    return text.substr(text.find('|') + 1);
  }
  void startUpdatePellmark() override {
    ++productUpdates;
    shownBefore = fake.host.shown.size();
  }
  bool hasRootTask() override { return rootTask; }
  std::shared_ptr<NotificationTarget> notificationTarget() override { return target; }

  ItemCatalogue catalogue;
  ExcludedPaths excluded{fake.disk};
  AgentSettings settings{fake.platform, catalogue, excluded};
  NewUpdatesNotice notice{fake.platform, catalogue, settings, *this};
  std::shared_ptr<NotificationTarget> target;
  bool rootTask = false;
  int productUpdates = 0;
  size_t shownBefore = 0;
};

TEST_F(NoticeTest, NotifiesOnceOfEachNewVersion) {
  add("Silent", "1", "2");
  notice.notifyNewUpdates();
  EXPECT_TRUE(fake.host.shown.empty()) << "notices are off";
  settings.setShowRevwardenNotifications(true);
  add("New", "1.9", "1.10");
  add("Older", "1.2", "1.1");
  add("Equal", "1.2", "1.2.0");
  add("Announced", "1.0", "1.1", "1.1");
  add("Downgraded", "1.0", "1.1", "1.2");
  add("Unreadable", "1.0", "1.1", "  ");
  add("Ignored", "1.0", "1.1", "", true);
  add("NoOffer", "1.0", "");
  const int writes = fake.defaults.writes;
  const LiveRecords before = catalogue.itemsSnapshot();
  notice.notifyNewUpdates();
  EXPECT_EQ(catalogue.itemsSnapshot(), before) << "marked in place";
  ASSERT_EQ(fake.host.shown.size(), 1u);
  EXPECT_EQ(*fake.host.shown[0].text,
            "Updates available for %?1$u applications: %2$@. Open Pellmark to install updates."
            "|3|New, Downgraded, Unreadable");
  EXPECT_EQ(fake.host.shown[0].button1Action, "openRevwarden");
  EXPECT_EQ(fake.host.shown[0].button1Text, "OK");
  EXPECT_EQ(fake.host.shown[0].button2Text, "Cancel");
  EXPECT_FALSE(fake.host.shown[0].icon);
  EXPECT_EQ(fake.defaults.writes, writes + 1);
  EXPECT_EQ(notified("New"), "1.10");
  EXPECT_EQ(notified("Ignored"), "1.1") << "marked although not listed";
  EXPECT_EQ(notified("Older"), "(absent)");

  notice.notifyNewUpdates();
  EXPECT_EQ(fake.host.shown.size(), 1u);
  EXPECT_EQ(fake.defaults.writes, writes + 1);
}

TEST_F(NoticeTest, ListsFourNamesAndCountsAll) {
  settings.setShowRevwardenNotifications(true);
  for (const char* name : {"B", "C", "D", "E"}) add(name, "1", "2");
  notice.notifyNewUpdates();
  EXPECT_EQ(listedNames(), "4|B, C, D, E");
  for (const char* name : {"F", "G", "H", "I", "J", "K"}) add(name, "1", "2");
  notice.notifyNewUpdates();
  EXPECT_EQ(listedNames(), "6|F, G, H, I...");
}

TEST_F(NoticeTest, StartsTheUpdateOfTheHostProduct) {
  add("Pellmark", "1", "2", "", true);
  notice.notifyNewUpdates();
  EXPECT_EQ(productUpdates, 1) << "even on the black list and with notices off";
  EXPECT_TRUE(fake.host.shown.empty());

  settings.setShowRevwardenNotifications(true);
  fake.disk.movable = false;
  catalogue.setObjectThreadSave_forKey_forItemWithID("1.5", kKQRWNotifiedVersionKey, "Pellmark");
  notice.notifyNewUpdates();
  EXPECT_EQ(productUpdates, 2);
  ASSERT_EQ(fake.host.shown.size(), 1u) << "never in the summary";
  EXPECT_EQ(shownBefore, 1u);
  EXPECT_EQ(*fake.host.shown[0].text, "New version of Pellmark is available!");
  EXPECT_EQ(fake.host.shown[0].icon->value, "DraggingViewNotificationIcon");
  EXPECT_FALSE(fake.host.shown[0].button1Action);

  rootTask = true;
  catalogue.setObjectThreadSave_forKey_forItemWithID("1.5", kKQRWNotifiedVersionKey, "Pellmark");
  notice.notifyNewUpdates();
  EXPECT_EQ(productUpdates, 3);
  EXPECT_EQ(fake.host.shown.size(), 1u) << "the queue has the rights";
}

}  // namespace
}  // namespace revwarden
