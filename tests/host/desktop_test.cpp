#include <gio/gio.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/desktop_notices.h"
#include "host/diagnostics.h"
#include "host/event_log.h"
#include "ports/linux/glib_run_loop.h"
#include "ports/posix/system_clock.h"

namespace revwarden {
namespace {

constexpr char kName[] = "org.freedesktop.Notifications";
constexpr char kPath[] = "/org/freedesktop/Notifications";

/// A session bus with a stand-in for the desktop's notification service.
class Desktop : public testing::Test, public NotificationTarget {
 protected:
  void SetUp() override {
    bus_ = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(bus_);
    const char* command[] = {"/usr/bin/python3",    "-m",   "dbusmock", "--template",
                             "notification_daemon", nullptr};
    ASSERT_TRUE(g_spawn_async(nullptr, const_cast<char**>(command), nullptr,
                              G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr, &service_, nullptr));
    tester_ = g_dbus_connection_new_for_address_sync(
        g_test_dbus_get_bus_address(bus_),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    ASSERT_TRUE(until([this] { return ask("org.freedesktop.DBus.Mock", "GetCalls"); }));
    display_ = std::make_unique<DesktopNotices>(notices_, "Revwarden");
    notices_.setDisplay(display_.get());
  }
  void TearDown() override {
    display_.reset();
    // What its calls still hold of the bus is let go by the loop.
    until([turns = 0]() mutable { return ++turns > 10; });
    g_clear_object(&tester_);
    kill(service_, SIGKILL);
    waitpid(service_, nullptr, 0);
    g_test_dbus_down(bus_);
    g_object_unref(bus_);
  }

  void performAction(std::string_view selector) override { actions_.emplace_back(selector); }

  void show() {
    HostNotification notice;
    notice.text = "AT&T";
    notice.button1Text = "OK";
    notice.button1Action = "act";
    notice.button2Text = "Cancel";
    notice.target = std::shared_ptr<NotificationTarget>(this, [](NotificationTarget*) {});
    notices_.show(notice);
  }

  bool until(const std::function<bool()>& condition) {
    for (int turns = 0; turns < 1000; ++turns) {
      if (condition()) return true;
      const auto timer = loop_->addTimer(Date{SystemClock().now().secondsSince1970 + 0.01}, [] {});
      loop_->runOneTurn(RunLoopMode::defaultMode);
    }
    return false;
  }

  /// The service's answer as text; whether it has one and `expected` is in it.
  bool ask(const char* interface, const char* method, GVariant* parameters = nullptr,
           const char* expected = "") {
    g_autoptr(GVariant) reply =
        g_dbus_connection_call_sync(tester_, kName, kPath, interface, method, parameters, nullptr,
                                    G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, nullptr);
    if (!reply) return false;
    g_autofree char* text = g_variant_print(reply, FALSE);
    return std::string(text).find(expected) != std::string::npos;
  }
  bool wasCalled(const char* method, const char* expected) {
    return ask("org.freedesktop.DBus.Mock", "GetMethodCalls", g_variant_new("(s)", method),
               expected);
  }
  void signal(const char* name, const char* types, std::vector<GVariant*> values) {
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("av"));
    for (GVariant* value : values) g_variant_builder_add(&list, "v", value);
    EXPECT_TRUE(ask("org.freedesktop.DBus.Mock", "EmitSignal",
                    g_variant_new("(sssav)", kName, name, types, &list)));
  }

  const Diagnostics diagnostics_{LogLevel::error};
  std::unique_ptr<GLibRunLoop> loop_ = GLibRunLoop::create();
  EventLog events_{*loop_, diagnostics_};
  Notices notices_{events_, *loop_};
  std::unique_ptr<DesktopNotices> display_;
  std::vector<std::string> actions_;
  GTestDBus* bus_ = nullptr;
  GDBusConnection* tester_ = nullptr;
  GPid service_ = 0;
};

TEST_F(Desktop, BubblesAndTheSocketAnswerForEachOther) {
  show();
  ASSERT_TRUE(until([this] { return display_->bubbles() == 1; }));
  EXPECT_TRUE(wasCalled("Notify", "['1', 'OK', '2', 'Cancel']"));
  EXPECT_TRUE(wasCalled("Notify", "10000"));
  EXPECT_TRUE(wasCalled("Notify", "AT&amp;T"));
  signal("ActionInvoked", "us", {g_variant_new_uint32(1), g_variant_new_string("1")});
  EXPECT_TRUE(until([this] { return !actions_.empty(); }));
  EXPECT_THAT(actions_, testing::ElementsAre("act"));
  EXPECT_FALSE(notices_.answer(1, 0));

  show();
  ASSERT_TRUE(until([this] { return display_->bubbles() == 1; }));
  EXPECT_TRUE(notices_.answer(2, 2));  // over the socket
  EXPECT_TRUE(until([this] { return wasCalled("CloseNotification", "2"); }));
}

TEST_F(Desktop, ABubbleThatExpiresLeavesItsNoticeOpen) {
  for (int i = 0; i < 3; ++i) show();
  ASSERT_TRUE(until([this] { return display_->bubbles() == 3; }));
  signal("NotificationClosed", "uu", {g_variant_new_uint32(1), g_variant_new_uint32(1)});
  signal("NotificationClosed", "uu", {g_variant_new_uint32(2), g_variant_new_uint32(2)});
  signal("ActionInvoked", "us", {g_variant_new_uint32(3), g_variant_new_string("1")});
  // Signals are heard in their order.
  EXPECT_TRUE(until([this] { return !actions_.empty(); }));
  EXPECT_FALSE(notices_.answer(2, 0));
  EXPECT_TRUE(notices_.answer(1, 0));
}

}  // namespace
}  // namespace revwarden
