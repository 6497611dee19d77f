#include "check/update_check.h"

#include <semaphore>

#include "check/update_protocol.h"
#include "tests/core/agent_fixture.h"

namespace revwarden {
namespace {

const std::string kA = "/Applications/A.app";
const std::string kB = "/Applications/B.app";
constexpr double kHour = 3600;

TEST_F(AgentTest, AsksInTheServicesOwnWords) {
  store({record("a", kA), record("b", kB, "2 & 3")
                              .without(kKQRWApplicationNameKey)
                              .with(kKQRWAvailableVersionInfoKey, Dictionary{{"version", "1"}})
                              .with(kKQRWLastFullCheckDate, Date{1})});
  world.disk.install(kA, "1.0");
  world.disk.install(kB, "2 & 3");
  start();
  ASSERT_EQ(world.service.requests.size(), 1u);
  EXPECT_EQ(world.service.requests[0].url, "http://updater.test/api/update");
  EXPECT_EQ(world.service.requests[0].method, "POST");
  const auto parsed = world.xml.parse(world.service.requests[0].body);
  const XmlElement& root = *parsed;
  EXPECT_EQ(root.name, "request");
  EXPECT_THAT(
      root.attributes,
      testing::ElementsAre(testing::Pair("version", "7.1"), testing::Pair("sn", "C02SERIAL"),
                           testing::Pair("os", "Version 10.6.8"), testing::Pair("cpu", "x86_64")));
  std::string words;
  for (const XmlElement& item : root.children) {
    words += item.name + ":";
    for (const XmlElement& child : item.children) words += child.name + "=" + child.text + ";";
  }
  EXPECT_EQ(words,
            "item:name=A;version=1.0;bundleId=org.example.A;mandatory=;"
            "item:name=;version=2 & 3;bundleId=org.example.B;");

  world.disk.serial.reset();
  world.disk.hostVersion.reset();
  const XmlElement bare = appsUpdatesCheckRequestRootXMLElement(world.platform);
  EXPECT_THAT(bare.attributes, testing::ElementsAre(testing::Pair("os", testing::_),
                                                    testing::Pair("cpu", testing::_)));
}

TEST_F(AgentTest, ReadsTheAnswersTexts) {
  const auto read = [&](const std::string& xml) {
    auto parsed = world.xml.parse(xml);
    return convertedArrayFromResponse(parsed ? &*parsed : nullptr);
  };
  EXPECT_TRUE(convertedArrayFromResponse(nullptr).empty());
  EXPECT_TRUE(read("<result><item><version>1</version></item></result>").empty());
  const auto answers = read(
      "<response> <other/><item/>\n"
      "<item><version>  1.2\t</version><price>\n</price><os> </os><ar/>"
      "<name>A<b>l<![CDATA[p&]]></b>ha</name><license>x</license><license>y</license>"
      "<license></license><future>\xC2\xA0kept\xC2\xA0</future></item></response>");
  ASSERT_EQ(answers.size(), 2u);
  EXPECT_TRUE(answers[0].empty());
  EXPECT_EQ(answers[1], (Dictionary{{"version", "1.2"},
                                    {"price", "\n"},
                                    {"os", ""},
                                    {"name", "Alp&ha"},
                                    {"license", "y"},
                                    {"future", "kept"}}));
}

/// The check alone, over a catalogue that a test can change while the service thinks.
class CheckTest : public AgentTest, private UpdateCheck::Mediator {
 protected:
  void run() {
    std::atomic<bool> done = false;
    std::thread thread([&] {
      check.performCheckForAppsUpdates();
      done = true;
      world.loop.post([] {});
    });
    EXPECT_TRUE(world.loop.runUntil([&] { return done.load(); }));
    thread.join();
    world.loop.drain();
  }
  Dictionary item(const std::string& id) { return *catalogue.itemSnapshotWithID(id); }
  std::vector<std::string> asked() {
    const std::string& body = world.service.requests.back().body;
    std::vector<std::string> names;
    const auto parsed = world.xml.parse(body);
    for (const XmlElement& element : parsed->children) {
      names.push_back(element.children[0].text + (element.children.size() == 4 ? "!" : ""));
    }
    return names;
  }
  void notifyNewUpdates() override { calls += "notice "; }
  void notifyDelegateAboutItemsDidChange() override { calls += "change "; }

  struct PassMediator final : PassGuard::Mediator {
    void scheduleNextUpdate() override {}
    void sendDidStartValidateItem() override {}
    void sendDidFinishValidateItem() override {}
    std::shared_ptr<void> agentReference() override { return nullptr; }
  } passMediator;

  ItemCatalogue catalogue;
  ExcludedPaths excluded{world.disk};
  AgentSettings settings{world.platform, catalogue, excluded};
  PassGuard pass{world.reference(), passMediator};
  UpdateCheck check{world.platform, catalogue, settings, pass, *this};
  std::string calls;
  const Dictionary offer{{kKQRWIVersionKey, "9"}};
  const double now = 1000000000;
};

TEST_F(CheckTest, ChoosesWhatIsDue) {
  const auto stamped = [&](const char* id, double hoursAgo) {
    return record(id, std::string("/") + id + ".app")
        .with(kKQRWLastFullCheckDate, Date{now - hoursAgo * kHour});
  };
  catalogue.appendItem(stamped("lately", 47.99));
  catalogue.appendItem(stamped("due", 48));
  catalogue.appendItem(stamped("future", -1));
  catalogue.appendItem(stamped("answered", 1).with(kKQRWAvailableVersionInfoKey, offer));
  catalogue.appendItem(
      record("unstamped", "/unstamped.app").with(kKQRWAvailableVersionInfoKey, offer));
  catalogue.appendItem(record("broken", "/broken.app").without(kKQRWCurrentVersionKey));
  run();
  EXPECT_THAT(asked(), testing::ElementsAre("due!", "answered", "unstamped!"));
  EXPECT_EQ(calls, "") << "nobody answered";
  EXPECT_EQ(settings.lastFireDate(), Date{now}) << "the next try is a day away all the same";
  EXPECT_EQ(world.defaults.writes, 1);
  EXPECT_FALSE(item("due").contains(kKQRWAvailableVersionInfoKey));
}

TEST_F(CheckTest, MergesWhatWasAnswered) {
  const Date old{now - 100 * kHour};
  catalogue.appendItem(record("new", "/new.app"));
  catalogue.appendItem(record("stale", "/stale.app")
                           .with(kKQRWLastFullCheckDate, old)
                           .with(kKQRWAvailableVersionInfoKey, offer.with("price", "1")));
  catalogue.appendItem(record("silent", "/silent.app"));
  catalogue.appendItem(record("kept", "/kept.app")
                           .with(kKQRWLastFullCheckDate, old)
                           .with(kKQRWAvailableVersionInfoKey, offer));
  catalogue.appendItem(record("namesake", "/namesake.app")
                           .with(kKQRWApplicationNameKey, "silent")
                           .with(kKQRWLastFullCheckDate, old)
                           .with(kKQRWAvailableVersionInfoKey, offer));
  catalogue.appendItem(record("anonymous", "/anonymous.app").with(kKQRWBundleIdKey, ""));
  serve(answer({{"org.example.new", "2"},
                {"org.example.new", "3"},
                {"org.example.stale", "4"},
                {" ", "5"},
                {"ORG.EXAMPLE.KEPT", "6"}}));
  const LiveRecords before = catalogue.itemsSnapshot();
  run();
  EXPECT_EQ(calls, "notice change ");
  for (const LiveRecordRef& record : catalogue.itemsSnapshot()) {
    EXPECT_THAT(before, testing::Not(testing::Contains(record))) << "merged into a new record";
  }
  EXPECT_EQ(offeredVersion(item("new")), "2") << "the first answer counts";
  EXPECT_FALSE(item("new").contains(kKQRWLastFullCheckDate)) << "an answer sets no stamp";
  EXPECT_EQ(item("stale").dictionaryFor(kKQRWAvailableVersionInfoKey)->size(), 2u)
      << "the whole answer replaces the old one";
  EXPECT_EQ(item("stale").dateFor(kKQRWLastFullCheckDate), old);
  EXPECT_EQ(item("silent").dateFor(kKQRWLastFullCheckDate), Date{now});
  EXPECT_EQ(offeredVersion(item("kept")), "9");
  EXPECT_EQ(item("kept").dateFor(kKQRWLastFullCheckDate), old);
  EXPECT_EQ(offeredVersion(item("namesake")), "(no offer)") << "matched by the name";
  EXPECT_EQ(item("namesake").dateFor(kKQRWLastFullCheckDate), Date{now});
  EXPECT_EQ(offeredVersion(item("anonymous")), "(no offer)") << "no identifier never matches";
}

TEST_F(CheckTest, LeavesAloneWhatWasReplacedMeanwhile) {
  for (const char* id : {"edited", "replaced", "same", "gone"}) {
    catalogue.appendItem(record(id, std::string("/") + id + ".app"));
  }
  world.service.answer = [&](const URLRequest&) {
    catalogue.setObjectThreadSave_forKey_forItemWithID(true, kKQRWIsFavouriteKey, "edited");
    catalogue.updateItem(item("replaced").with(kKQRWCurrentVersionKey, "1.5"));
    catalogue.updateItem(item("same"));
    catalogue.removeItem(item("gone"));
    catalogue.appendItem(record("late", "/late.app"));
    return std::optional(answer({{"org.example.edited", "2"},
                                 {"org.example.replaced", "2"},
                                 {"org.example.same", "2"},
                                 {"org.example.late", "2"}}));
  };
  run();
  EXPECT_EQ(offeredVersion(item("edited")), "2");
  EXPECT_TRUE(item("edited").boolFor(kKQRWIsFavouriteKey));
  EXPECT_EQ(offeredVersion(item("replaced")), "(no offer)");
  EXPECT_EQ(offeredVersion(item("same")), "2");
  EXPECT_EQ(offeredVersion(item("late")), "(no offer)") << "it was not asked about";
  EXPECT_EQ(catalogue.itemsSnapshot().size(), 4u);
}

TEST_F(CheckTest, NonsenseStampsAndIsShownOnlyToWhoAsked) {
  catalogue.appendItem(record("a", kA).with(kKQRWAvailableVersionInfoKey, offer));
  serve("<response><item></response>");
  run();
  EXPECT_TRUE(world.host.shown.empty());
  ASSERT_EQ(world.log.lines.size(), 2u);
  EXPECT_TRUE(world.log.lines[0].starts_with("Invalid response: "));
  EXPECT_EQ(world.log.lines[1], "Response: <response><item></response>");
  EXPECT_FALSE(item("a").contains(kKQRWAvailableVersionInfoKey));
  EXPECT_EQ(item("a").dateFor(kKQRWLastFullCheckDate), Date{now});
  EXPECT_EQ(calls, "notice change ");

  check.setScanStartedByUser(true);
  serve("\xE9");
  run();
  ASSERT_EQ(world.host.shown.size(), 1u);
  EXPECT_EQ(world.host.shown[0].text,
            "There was an error while communicating with the Revwarden server. Please try again "
            "later.");
  EXPECT_EQ(world.host.shown[0].icon->value, "DraggingViewNotificationIcon");
  EXPECT_EQ(world.log.lines.back(), "Response: (null)");

  run();
  EXPECT_EQ(world.host.shown.size(), 1u) << "the wish was cleared by the check before";
  check.setScanStartedByUser(true);
  serve("<html/>");
  run();
  EXPECT_EQ(world.host.shown.size(), 1u) << "well-formed, so no error";
  world.service.answer = [](const URLRequest&) { return std::nullopt; };
  check.setScanStartedByUser(true);
  run();
  EXPECT_EQ(world.host.shown.size(), 1u) << "nor is silence";
}

TEST_F(AgentTest, ARescanForgetsTheStampsAndAsksAgain) {
  world.disk.install(kA, "1.0");
  serve(answer({}));
  start();
  const Date stamp = world.clock.now();
  EXPECT_EQ(itemAt(kA).dateFor(kKQRWLastFullCheckDate), stamp);
  world.clock.advance(kHour);

  // A service that thinks until it is told to go on, and then for a minute.
  std::counting_semaphore<> mayAnswer(0);
  world.service.answer = [&](const URLRequest&) {
    mayAnswer.acquire();
    world.clock.advance(60);
    return std::optional(answer({}));
  };
  events->takeNames();
  agent->startUpdateApplicationsList();
  agent->startFullRescan();
  EXPECT_EQ(itemAt(kA).dateFor(kKQRWLastFullCheckDate), stamp)
      << "a pass runs: nothing is forgotten";
  EXPECT_EQ(agent->lastFireDate(), stamp);
  mayAnswer.release();
  finishPass();
  ASSERT_EQ(world.service.requests.size(), 2u) << "nor is the wish queued";
  EXPECT_EQ(world.service.requests[1].body.find("<item>"), std::string::npos) << "asked lately";
  const Date checked = *agent->lastFireDate();
  EXPECT_EQ(checked, world.clock.now()) << "the end of the check counts";

  events->takeNames();
  agent->startFullRescan();
  EXPECT_EQ(agent->lastFireDate(), std::nullopt);
  EXPECT_FALSE(itemAt(kA).contains(kKQRWLastFullCheckDate));
  EXPECT_EQ(stored().dateFor("lastFireDate"), checked) << "nothing is saved";
  mayAnswer.release();
  finishPass();
  ASSERT_EQ(world.service.requests.size(), 3u);
  EXPECT_NE(world.service.requests[2].body.find("<mandatory"), std::string::npos);
}

TEST_F(AgentTest, ARescanDuringAPassShowsTheErrorOfThatPass) {
  world.disk.install(kA, "1.0");
  serve("nonsense");
  create();
  agent->startFullRescan();
  finishPass();
  EXPECT_EQ(world.service.requests.size(), 1u);
  EXPECT_EQ(world.host.shown.size(), 1u);
}

// An answered record that was stamped before needs no check; then a due date in the past starts the
// next refresh at once, for as long as that lasts.
TEST_F(AgentTest, ARefreshWithoutACheckLeavesTheDateAndGoesRoundAgain) {
  world.disk.install(kA, "1.0");
  const Date longAgo{world.clock.now().secondsSince1970 - 25 * kHour};
  store({record("a", kA)
             .with(kKQRWAvailableVersionInfoKey, Dictionary{{"version", "1.0"}})
             .with(kKQRWLastFullCheckDate, longAgo)},
        {{"lastFireDate", longAgo}});
  create();
  ASSERT_TRUE(world.loop.runUntil([&] { return events->count("list") == 3; }));
  EXPECT_TRUE(world.service.requests.empty());
  EXPECT_EQ(agent->lastFireDate(), longAgo);
}

TEST_F(AgentTest, TheNextCheckIsDueADayAfterTheLast) {
  world.disk.install(kA, "1.0");
  start();
  const double checked = world.clock.now().secondsSince1970;
  EXPECT_THAT(world.loop.pendingTimers(), testing::ElementsAre(checked + 24 * kHour))
      << "although the service was out of reach";

  world.clock.advance(3 * kHour);
  world.host.wake();
  world.host.wake();
  EXPECT_THAT(world.loop.pendingTimers(), testing::ElementsAre(checked + 24 * kHour));

  agent->startUpdateApplicationsList();
  agent->startUpdateApplicationsList();
  EXPECT_TRUE(world.loop.pendingTimers().empty()) << "dropped even by a request that is skipped";
  world.host.wake();
  world.clock.advance(22 * kHour);
  finishPass();
  EXPECT_EQ(events->takeNames(), "start finish list") << "its timer found the pass still running";

  world.clock.advance(48 * kHour);
  world.host.wake();
  finishPass();
  EXPECT_EQ(events->takeNames(), "start finish list");
  EXPECT_EQ(world.service.requests.size(), 3u);
}

}  // namespace
}  // namespace revwarden
