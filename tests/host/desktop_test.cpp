#include "host/desktop_notices.h"

#include <gmock/gmock.h>

#include "host/diagnostics.h"
#include "host/event_log.h"
#include "ports/linux/loop/glib_run_loop.h"
#include "ports/posix/system_clock.h"
#include "tests/fakes/mocked_bus.h"

namespace revwarden {
namespace {

using testing::HasSubstr;

/// A session bus with a stand-in for the desktop's notification service.
class Desktop : public testing::Test, public NotificationTarget {
 protected:
  void SetUp() override {
    ASSERT_TRUE(until([this] { return ask("GetCalls") != ""; }));
    display_ = std::make_unique<DesktopNotices>(notices_, "Revwarden");
    notices_.setDisplay(display_.get());
  }
  void TearDown() override {
    display_.reset();
    // What its calls still hold of the bus is let go by the loop.
    until([turns = 0]() mutable { return ++turns > 10; });
  }

  void performAction(std::string_view selector) override { actions_.emplace_back(selector); }

  /// Shows some notices and waits until that many bubbles are there.
  bool show(int count, size_t bubbles) {
    HostNotification notice;
    notice.text = "AT&T";
    notice.liveTime = 10.0;
    notice.button1Text = "OK";
    notice.button1Action = "act";
    notice.button2Text = "Cancel";
    notice.target = std::shared_ptr<NotificationTarget>(this, [](NotificationTarget*) {});
    for (int i = 0; i < count; ++i) notices_.show(notice);
    return until([&] { return display_->bubbles() == bubbles; });
  }

  bool until(const std::function<bool()>& condition) {
    for (int turns = 0; turns < 1000; ++turns) {
      if (condition()) return true;
      const auto timer = loop_->addTimer(Date{SystemClock().now().secondsSince1970 + 0.01}, [] {});
      loop_->runOneTurn(RunLoopMode::defaultMode);
    }
    return false;
  }

  std::string ask(const std::string& method, const std::string& arguments = "") const {
    return bus_.call("org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                     "Mock." + method, arguments);
  }
  void signal(const std::string& name, const std::string& types, const std::string& values) {
    EXPECT_EQ(ask("EmitSignal",
                  "org.freedesktop.Notifications " + name + " " + types + " '[" + values + "]'"),
              "()");
  }

  const MockedBus bus_{"session", "notification_daemon"};
  const Diagnostics diagnostics_{LogLevel::error};
  std::unique_ptr<GLibRunLoop> loop_ = GLibRunLoop::create();
  EventLog events_{*loop_, diagnostics_};
  Notices notices_{events_, *loop_};
  std::unique_ptr<DesktopNotices> display_;
  std::vector<std::string> actions_;
};

TEST_F(Desktop, BubblesAndTheSocketAnswerForEachOther) {
  ASSERT_TRUE(show(1, 1));
  EXPECT_THAT(ask("GetMethodCalls", "Notify"),
              testing::AllOf(HasSubstr("['1', 'OK', '2', 'Cancel']"), HasSubstr("10000"),
                             HasSubstr("AT&amp;T")));
  signal("ActionInvoked", "us", "<uint32 1>, <\"1\">");
  EXPECT_TRUE(until([this] { return !actions_.empty(); }));
  EXPECT_THAT(actions_, testing::ElementsAre("act"));

  ASSERT_TRUE(show(1, 1));
  EXPECT_TRUE(notices_.answer(2, 2));  // over the socket
  EXPECT_TRUE(until([this] {
    return ask("GetMethodCalls", "CloseNotification").find("[<2>]") != std::string::npos;
  }));

  // A bubble that expires leaves its notice open. Signals are heard in their order.
  ASSERT_TRUE(show(3, 3));
  signal("NotificationClosed", "uu", "<uint32 3>, <uint32 1>");
  signal("NotificationClosed", "uu", "<uint32 4>, <uint32 2>");
  signal("ActionInvoked", "us", "<uint32 5>, <\"1\">");
  EXPECT_TRUE(until([this] { return actions_.size() == 2; }));
  EXPECT_FALSE(notices_.answer(4, 0));
  EXPECT_TRUE(notices_.answer(3, 0));
}

}  // namespace
}  // namespace revwarden
