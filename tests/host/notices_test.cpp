#include "host/notices.h"

#include <gmock/gmock.h>

#include "host/agent_host.h"
#include "tests/host/host_fixture.h"

namespace revwarden {
namespace {

struct RecordingTarget final : NotificationTarget {
  explicit RecordingTarget(std::vector<std::string>& sink) : actions(sink) {}
  ~RecordingTarget() override { actions.push_back("gone"); }
  void performAction(std::string_view selector) override { actions.emplace_back(selector); }
  std::vector<std::string>& actions;
};

struct RecordingDisplay final : NoticeDisplay {
  void show(NoticeId id, const HostNotification&) override { shown.push_back(id); }
  void withdraw(NoticeId id) override { withdrawn.push_back(id); }
  std::vector<NoticeId> shown, withdrawn;
};

class NoticesTest : public testing::Test {
 protected:
  NoticesTest() { notices_.setDisplay(&display_); }
  HostNotification notice() {
    HostNotification made = host_.notificationInstance();
    made.target = std::make_shared<RecordingTarget>(actions_);
    made.button1Action = "act";
    return made;
  }

  std::vector<std::string> actions_;
  const Diagnostics diagnostics_{LogLevel::error};
  ManualClock clock_;
  ManualRunLoop loop_{clock_};
  EventLog events_{loop_, diagnostics_};
  RecordingDisplay display_;
  Notices notices_{events_, loop_};
  std::vector<std::string> launched_;
  AgentHost host_{notices_, events_, "/Host.app", [this](const std::string& path) {
                    launched_.push_back(path);
                    return launched_.size() == 1;
                  }};
};

TEST_F(NoticesTest, ClientsReadEveryFieldAndNullForWhatIsNotSet) {
  notices_.show({});
  HostNotification full = notice();
  full.icon = {NotificationIcon::Kind::ofFile, "/A.app"};
  full.userInfo = Dictionary{{"k", 1}};
  full.button1Text = "OK";
  notices_.show(full);
  const Json heard = Json::parse(events_.eventsAfter(0));
  EXPECT_EQ(heard[0]["method"], "showNotification:");
  EXPECT_EQ(heard[0]["params"], Json::parse(R"([{"id":1,"text":null,"icon":null,"liveTime":null,
      "button1Text":null,"button1Action":null,"button2Text":null,"userInfo":null}])"));
  EXPECT_EQ(heard[1]["params"], Json::parse(R"([{"id":2,"text":null,"icon":"/A.app",
      "liveTime":10.0,"button1Text":"OK","button1Action":"act","button2Text":null,
      "userInfo":{"k":1}}])"));
  notices_.answer(1, 0);
  EXPECT_EQ(Json::parse(notices_.openNotices()), heard[1]["params"]);
}

TEST_F(NoticesTest, AnAnswerCountsOnceAndOnlyButtonOneActs) {
  for (int i = 0; i < 3; ++i) notices_.show(notice());
  EXPECT_TRUE(notices_.answer(2, 1));
  EXPECT_FALSE(notices_.answer(2, 1));
  loop_.drain();  // the display's copy is the last one
  EXPECT_THAT(actions_, testing::ElementsAre("act", "gone"));
  EXPECT_TRUE(notices_.answer(1, 0));
  EXPECT_TRUE(notices_.answer(3, 2));
  EXPECT_THAT(actions_, testing::ElementsAre("act", "gone", "gone", "gone"));
  EXPECT_THAT(display_.withdrawn, testing::ElementsAre(2, 1, 3));
  EXPECT_THAT(display_.shown, testing::ElementsAre(1, 3));  // 2 was answered before
}

TEST_F(NoticesTest, TheOldestGiveWayAndTheirTargetsDieOnTheMainThread) {
  std::thread([this] {
    for (size_t i = 0; i <= Notices::kMostOpen; ++i) notices_.show(notice());
  }).join();
  EXPECT_TRUE(actions_.empty());
  loop_.drain();
  EXPECT_EQ(actions_.size(), 1u);
  EXPECT_EQ(display_.shown.size(), Notices::kMostOpen);  // the first was given up by then
}

TEST_F(NoticesTest, TheHostProductIsLaunchedForJobsAndByItsOwnNotices) {
  std::thread([this] { host_.activateHostApp(); }).join();
  host_.notificationTarget()->performAction("elsewhere");
  host_.notificationTarget()->performAction("activateHostApp");
  AgentHost(notices_, events_, std::nullopt, nullptr).activateHostApp();

  EXPECT_THAT(launched_, testing::ElementsAre("/Host.app", "/Host.app"));
  Json told = Json::array();
  for (const Json& event : Json::parse(events_.eventsAfter(0))) {
    told.push_back({event["main"], event["method"], event["params"]});
  }
  EXPECT_EQ(told, Json::parse(R"([[false, "activateHostApp", ["/Host.app", true]],
      [true, "activateHostApp", ["/Host.app", false]], [true, "activateHostApp", [null, false]]])"));
}

}  // namespace
}  // namespace revwarden
