#include "check/update_check.h"

#include <semaphore>

#include "check/update_protocol.h"
#include "tests/core/agent_fixture.h"

namespace revwarden {
namespace {

const std::string kA = "/Applications/A.app";
const std::string kB = "/Applications/B.app";
constexpr double kHour = 3600;

TEST_F(AgentTest, RequestDescribesMachineAndApplications) {
  store({record("a", kA), record("b", kB, "2 & 3")
                              .without(kKQRWApplicationNameKey)
                              .with(kKQRWAvailableVersionInfoKey, Dictionary{{"version", "1"}})
                              .with(kKQRWLastFullCheckDate, Date{1})});
  fake.disk.install(kA, "1.0");
  fake.disk.install(kB, "2 & 3");
  start();
  ASSERT_EQ(fake.service.requests.size(), 1u);
  EXPECT_EQ(fake.service.requests[0].url, "http://updater.test/api/update");
  EXPECT_EQ(fake.service.requests[0].method, "POST");
  const auto parsed = fake.xml.parse(fake.service.requests[0].body);
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

  fake.disk.serial.reset();
  fake.disk.hostVersion.reset();
  const XmlElement bare = appsUpdatesCheckRequestRootXMLElement(fake.platform);
  EXPECT_THAT(bare.attributes, testing::ElementsAre(testing::Pair("os", testing::_),
                                                    testing::Pair("cpu", testing::_)));
}

TEST_F(AgentTest, ResponseIsConvertedToDictionaries) {
  const auto read = [&](const std::string& xml) {
    auto parsed = fake.xml.parse(xml);
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

/// Tests of the check alone, on a catalogue that a test can change during the exchange.
class CheckTest : public AgentTest, private UpdateCheck::Mediator {
 protected:
  void run() {
    std::atomic<bool> done = false;
    std::thread thread([&] {
      check.performCheckForAppsUpdates();
      done = true;
      fake.loop.post([] {});
    });
    EXPECT_TRUE(fake.loop.runUntil([&] { return done.load(); }));
    thread.join();
    fake.loop.drain();
  }
  Dictionary item(const std::string& id) { return *catalogue.itemSnapshotWithID(id); }
  std::vector<std::string> asked() {
    const std::string& body = fake.service.requests.back().body;
    std::vector<std::string> names;
    const auto parsed = fake.xml.parse(body);
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
  ExcludedPaths excluded{fake.disk};
  AgentSettings settings{fake.platform, catalogue, excluded};
  PassGuard pass{fake.reference(), passMediator};
  UpdateCheck check{fake.platform, catalogue, settings, pass, *this};
  std::string calls;
  const Dictionary offer{{kKQRWIVersionKey, "9"}};
  const double now = 1000000000;
};

TEST_F(CheckTest, SendsOnlyRecordsThatAreDue) {
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
  EXPECT_EQ(calls, "") << "there was no answer";
  EXPECT_EQ(settings.lastFireDate(), Date{now}) << "the next check is a day away";
  EXPECT_EQ(fake.defaults.writes, 1);
  EXPECT_FALSE(item("due").contains(kKQRWAvailableVersionInfoKey));
}

TEST_F(CheckTest, MergesAnswersIntoRecords) {
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
  EXPECT_EQ(offeredVersion(item("new")), "2") << "the first answer is used";
  EXPECT_FALSE(item("new").contains(kKQRWLastFullCheckDate)) << "an answer sets no stamp";
  EXPECT_EQ(item("stale").dictionaryFor(kKQRWAvailableVersionInfoKey)->size(), 2u)
      << "the whole answer replaces the old one";
  EXPECT_EQ(item("stale").dateFor(kKQRWLastFullCheckDate), old);
  EXPECT_EQ(item("silent").dateFor(kKQRWLastFullCheckDate), Date{now});
  EXPECT_EQ(offeredVersion(item("kept")), "9");
  EXPECT_EQ(item("kept").dateFor(kKQRWLastFullCheckDate), old);
  EXPECT_EQ(offeredVersion(item("namesake")), "(no offer)") << "matched by name";
  EXPECT_EQ(item("namesake").dateFor(kKQRWLastFullCheckDate), Date{now});
  EXPECT_EQ(offeredVersion(item("anonymous")), "(no offer)")
      << "an empty identifier matches nothing";
}

TEST_F(CheckTest, IgnoresRecordsReplacedDuringTheExchange) {
  for (const char* id : {"edited", "replaced", "same", "gone"}) {
    catalogue.appendItem(record(id, std::string("/") + id + ".app"));
  }
  fake.service.answer = [&](const URLRequest&) {
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
  EXPECT_EQ(offeredVersion(item("late")), "(no offer)") << "it was not in the request";
  EXPECT_EQ(catalogue.itemsSnapshot().size(), 4u);
}

TEST_F(CheckTest, MalformedResponseIsMergedAndShownIfTheUserRequestedIt) {
  catalogue.appendItem(record("a", kA).with(kKQRWAvailableVersionInfoKey, offer));
  serve("<response><item></response>");
  run();
  EXPECT_TRUE(fake.host.shown.empty());
  ASSERT_EQ(fake.log.lines.size(), 2u);
  EXPECT_TRUE(fake.log.lines[0].starts_with("Invalid response: "));
  EXPECT_EQ(fake.log.lines[1], "Response: <response><item></response>");
  EXPECT_FALSE(item("a").contains(kKQRWAvailableVersionInfoKey));
  EXPECT_EQ(item("a").dateFor(kKQRWLastFullCheckDate), Date{now});
  EXPECT_EQ(calls, "notice change ");

  check.setScanStartedByUser(true);
  serve("\xE9");
  run();
  ASSERT_EQ(fake.host.shown.size(), 1u);
  EXPECT_EQ(fake.host.shown[0].text,
            "There was an error while communicating with the Revwarden server. Please try again "
            "later.");
  EXPECT_EQ(fake.host.shown[0].icon->value, "DraggingViewNotificationIcon");
  EXPECT_EQ(fake.log.lines.back(), "Response: (null)");

  run();
  EXPECT_EQ(fake.host.shown.size(), 1u) << "the previous check cleared the flag";
  check.setScanStartedByUser(true);
  serve("<html/>");
  run();
  EXPECT_EQ(fake.host.shown.size(), 1u) << "it is well-formed";
}

TEST_F(AgentTest, FullRescanClearsTheDatesAndAsksAgain) {
  fake.disk.install(kA, "1.0");
  serve(answer({}));
  start();
  const Date stamp = fake.clock.now();
  EXPECT_EQ(itemAt(kA).dateFor(kKQRWLastFullCheckDate), stamp);
  fake.clock.advance(kHour);

  // The service waits for the semaphore, then for a minute.
  std::counting_semaphore<> mayAnswer(0);
  fake.service.answer = [&](const URLRequest&) {
    mayAnswer.acquire();
    fake.clock.advance(60);
    return std::optional(answer({}));
  };
  events->takeNames();
  agent->startUpdateApplicationsList();
  agent->startFullRescan();
  EXPECT_EQ(itemAt(kA).dateFor(kKQRWLastFullCheckDate), stamp) << "cleared during a pass";
  EXPECT_EQ(agent->lastFireDate(), stamp);
  mayAnswer.release();
  finishPass();
  ASSERT_EQ(fake.service.requests.size(), 2u) << "the request was queued";
  EXPECT_EQ(fake.service.requests[1].body.find("<item>"), std::string::npos) << "asked lately";
  EXPECT_TRUE(fake.outcomes.checks.back().byUser);
  const Date checked = *agent->lastFireDate();
  EXPECT_EQ(checked, fake.clock.now()) << "the end of the check counts";

  events->takeNames();
  agent->startFullRescan();
  EXPECT_EQ(agent->lastFireDate(), std::nullopt);
  EXPECT_FALSE(itemAt(kA).contains(kKQRWLastFullCheckDate));
  agent->setStarred_forItemWithId(true, idAt(kA));
  EXPECT_EQ(stored().dateFor("lastFireDate"), checked) << "a save without a date erased it";
  mayAnswer.release();
  finishPass();
  ASSERT_EQ(fake.service.requests.size(), 3u);
  EXPECT_NE(fake.service.requests[2].body.find("<mandatory"), std::string::npos);
}

// A record with an answer and a date needs no check. As long as the date of the last check is more
// than a day old, each refresh starts the next one.
TEST_F(AgentTest, RefreshWithoutCheckKeepsTheDateAndRepeats) {
  fake.disk.install(kA, "1.0");
  const Date longAgo{fake.clock.now().secondsSince1970 - 25 * kHour};
  store({record("a", kA)
             .with(kKQRWAvailableVersionInfoKey, Dictionary{{"version", "1.0"}})
             .with(kKQRWLastFullCheckDate, longAgo)},
        {{"lastFireDate", longAgo}});
  create();
  ASSERT_TRUE(fake.loop.runUntil([&] { return events->count("list") == 3; }));
  EXPECT_TRUE(fake.service.requests.empty());
  EXPECT_EQ(agent->lastFireDate(), longAgo);
}

TEST_F(AgentTest, NextCheckIsDueADayAfterTheLast) {
  fake.disk.install(kA, "1.0");
  start();
  const double checked = fake.clock.now().secondsSince1970;
  EXPECT_THAT(fake.loop.pendingTimers(), testing::ElementsAre(checked + 24 * kHour))
      << "even if the service did not respond";

  fake.clock.advance(3 * kHour);
  fake.host.wake();
  fake.host.wake();
  EXPECT_THAT(fake.loop.pendingTimers(), testing::ElementsAre(checked + 24 * kHour));

  agent->startUpdateApplicationsList();
  agent->startUpdateApplicationsList();
  EXPECT_TRUE(fake.loop.pendingTimers().empty()) << "a skipped request keeps the timer";
  fake.host.wake();
  fake.clock.advance(22 * kHour);
  finishPass();
  EXPECT_EQ(events->takeNames(), "start finish list") << "the timer fired during the pass";
}

}  // namespace
}  // namespace revwarden
