#include <random>

#include "catalogue/item_catalogue.h"
#include "tests/core/agent_fixture.h"

namespace revwarden {
namespace {

TEST(ItemCatalogueTest, EditsKeepARecordsIdentityAndReplacementsDoNot) {
  ItemCatalogue catalogue;
  catalogue.appendItem(record("a", "/A.app"));
  catalogue.appendItem(record("b", "/B.app").with(kKQRWAvailableVersionInfoKey, Dictionary()));
  EXPECT_EQ(catalogue.items().size(), 1u) << "an empty answer is an answer";

  const LiveRecords before = catalogue.itemsSnapshot();
  catalogue.setObjectThreadSave_forKey_forItemWithID(true, kKQRWIsFavouriteKey, "a");
  EXPECT_EQ(catalogue.itemsSnapshot()[0], before[0]);
  EXPECT_TRUE(before[0]->contents().boolFor(kKQRWIsFavouriteKey)) << "a live record shows the edit";

  EXPECT_TRUE(catalogue.updateItem(record("a", "/Moved.app")));
  EXPECT_NE(catalogue.itemsSnapshot()[0], before[0]);
  EXPECT_EQ(textAt(before[0]->contents(), kKQRWApplicationPathKey), "/A.app");
  EXPECT_FALSE(catalogue.itemSnapshotWithPath("/A.app"));
  EXPECT_TRUE(catalogue.itemSnapshotWithPath("/Moved.app"));

  EXPECT_FALSE(catalogue.updateItem(record("unknown", "/C.app")));
  EXPECT_FALSE(catalogue.updateItem(Dictionary()));
  EXPECT_FALSE(catalogue.removeItem(Dictionary{{kKQRWApplicationPathKey, "/B.app"}}));
  EXPECT_FALSE(catalogue.removeItem(std::nullopt));
  catalogue.setObjectThreadSave_forKey_forItemWithID(true, kKQRWIsFavouriteKey, "unknown");
  EXPECT_EQ(catalogue.itemsSnapshot().size(), 2u);
  EXPECT_FALSE(catalogue.itemWithIdIsInBlackList("unknown"));
}

// Compares every look-up with a search in a plain list. Ids and paths may occur twice.
TEST(ItemCatalogueTest, FindsTheFirstMatchAfterRandomChanges) {
  std::mt19937 random(7);
  ItemCatalogue catalogue;
  std::vector<Dictionary> model;
  const auto name = [&](const char* prefix) { return prefix + std::to_string(random() % 12); };
  const auto firstWith = [&](const char* key, const std::string& text) {
    return std::find_if(model.begin(), model.end(),
                        [&](const Dictionary& d) { return textAt(d, key) == text; });
  };
  for (int step = 0; step < 4000; ++step) {
    const std::string id = name("id");
    const auto known = firstWith(kKQRWIDKey, id);
    switch (random() % 4) {
      case 0:
        if (model.size() > 30) break;
        model.push_back(record(id, name("/p")));
        catalogue.appendItem(model.back());
        break;
      case 1: {
        const Dictionary changed = record(id, name("/p"));
        EXPECT_EQ(catalogue.updateItem(changed), known != model.end());
        if (known != model.end()) *known = changed;
        break;
      }
      case 2: {
        const char* key = random() % 2 ? kKQRWIDKey : kKQRWApplicationPathKey;
        const std::string text = name(key == kKQRWIDKey ? "id" : "/p");
        catalogue.setObjectThreadSave_forKey_forItemWithID(text, key, id);
        if (known != model.end()) *known = known->with(key, text);
        break;
      }
      case 3:
        EXPECT_EQ(catalogue.removeItem(Dictionary{{kKQRWIDKey, id}}), known != model.end());
        if (known != model.end()) model.erase(known);
    }
    const std::string path = name("/p");
    const auto expected = firstWith(kKQRWApplicationPathKey, path);
    const auto found = catalogue.itemSnapshotWithPath(path);
    ASSERT_EQ(found.has_value(), expected != model.end());
    ASSERT_TRUE(!found || *found == *expected);
  }
  const LiveRecords all = catalogue.itemsSnapshot();
  ASSERT_EQ(all.size(), model.size());
  for (size_t i = 0; i < all.size(); ++i) EXPECT_EQ(all[i]->contents(), model[i]);
}

TEST_F(AgentTest, StarAndBlackListSaveOnceAndSendSnapshots) {
  for (const char* name : {"A", "B", "C"}) {
    fake.disk.install(std::string("/Applications/") + name + ".app", "1.0");
  }
  start();
  const std::string a = idAt("/Applications/A.app");
  const std::string c = idAt("/Applications/C.app");

  int writes = fake.defaults.writes;
  agent->setStarred_forItemWithId(true, a);
  agent->setStarred_forItemWithId(true, a);
  EXPECT_EQ(fake.defaults.writes, writes + 2) << "even if nothing changed";
  agent->setStarred_forItemWithId(true, "unknown");
  ASSERT_EQ(events->count("status"), 3u);
  EXPECT_TRUE(events->events[2].items.empty());
  events->takeNames();

  writes = fake.defaults.writes;
  agent->moveItemsWithIds_toBlackList({c, "unknown", a, c}, true);
  EXPECT_EQ(fake.defaults.writes, writes + 1);
  ASSERT_EQ(events->count("status"), 1u);
  const std::vector<Dictionary> sent = events->events[0].items;
  ASSERT_EQ(sent.size(), 3u);
  EXPECT_EQ(textAt(sent[0], kKQRWIDKey), c);
  EXPECT_EQ(textAt(sent[1], kKQRWIDKey), a);
  EXPECT_TRUE(sent[2].boolFor(kKQRWIsInBlackList));
  agent->moveItemsWithIds_toBlackList({c}, false);
  agent->moveItemsWithIds_toBlackList({}, true);
  EXPECT_EQ(fake.defaults.writes, writes + 3);
  EXPECT_TRUE(events->events.back().items.empty());
  EXPECT_FALSE(agent->itemWithIdIsInBlackList(c));
  EXPECT_TRUE(sent[0].boolFor(kKQRWIsInBlackList)) << "an event already sent does not change";
}

}  // namespace
}  // namespace revwarden
