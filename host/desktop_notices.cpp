#include "host/desktop_notices.h"

#include <algorithm>

namespace revwarden {
namespace {

constexpr char kService[] = "org.freedesktop.Notifications";
constexpr char kPath[] = "/org/freedesktop/Notifications";
constexpr uint32_t kDismissedByUser = 2;
constexpr double kLongestLiveTime = 24 * 60 * 60;  // seconds

// A themed icon: icon themes do not have the product's own names.
const char* iconName(const HostNotification& notice) {
  if (!notice.icon) return "";
  if (notice.icon->kind == NotificationIcon::Kind::ofFile) return "application-x-executable";
  return notice.icon->value == "DraggingViewWarningIcon" ? "dialog-warning"
                                                         : "software-update-available";
}

int32_t milliseconds(std::optional<double> seconds) {
  if (!seconds) return -1;  // the desktop's default
  return *seconds > 0 ? static_cast<int32_t>(std::min(*seconds, kLongestLiveTime) * 1000) : 0;
}

GVariant* actions(const HostNotification& notice) {
  GVariantBuilder list;
  g_variant_builder_init(&list, G_VARIANT_TYPE("as"));
  const auto add = [&list](const char* key, const std::optional<std::string>& text) {
    if (!text) return;
    g_variant_builder_add(&list, "s", key);
    g_variant_builder_add(&list, "s", text->c_str());
  };
  add("1", notice.button1Text);
  add("2", notice.button2Text);
  return g_variant_builder_end(&list);
}

}  // namespace

// A notice sent to the service. The display may be destroyed before the reply arrives.
struct DesktopNotices::Sent {
  DesktopNotices* display;
  NoticeId id;
};

DesktopNotices::DesktopNotices(Notices& notices, std::string application)
    : notices_(notices), application_(std::move(application)), cancellable_(g_cancellable_new()) {}

DesktopNotices::~DesktopNotices() {
  g_cancellable_cancel(cancellable_);
  if (subscription_ != 0) g_dbus_connection_signal_unsubscribe(bus_, subscription_);
  g_clear_object(&bus_);
  g_object_unref(cancellable_);
}

void DesktopNotices::show(NoticeId id, const HostNotification& notice) {
  if (state_ == Bus::connected) return send(id, notice);
  if (state_ == Bus::missing) return;
  waiting_.emplace_back(id, notice);
  if (state_ == Bus::untried) connect();
}

void DesktopNotices::withdraw(NoticeId id) {
  std::erase_if(waiting_, [id](const auto& notice) { return notice.first == id; });
  sending_.erase(id);
  const auto bubble = bubbles_.find(id);
  if (bubble == bubbles_.end()) return;
  closeBubble(bubble->second);
  bubbles_.erase(bubble);
}

void DesktopNotices::connect() {
  state_ = Bus::connecting;
  g_bus_get(G_BUS_TYPE_SESSION, cancellable_, onConnected, this);
}

void DesktopNotices::onConnected(GObject*, GAsyncResult* result, gpointer self) {
  g_autoptr(GError) error = nullptr;
  GDBusConnection* bus = g_bus_get_finish(result, &error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) return;
  auto* display = static_cast<DesktopNotices*>(self);
  display->bus_ = bus;
  if (!bus) {
    display->state_ = Bus::missing;
    display->waiting_.clear();
    return;
  }
  g_dbus_connection_set_exit_on_close(bus, FALSE);
  display->subscribe();
  display->call("GetCapabilities", nullptr, onCapabilities, display);
}

void DesktopNotices::subscribe() {
  subscription_ =
      g_dbus_connection_signal_subscribe(bus_, kService, kService, nullptr, kPath, nullptr,
                                         G_DBUS_SIGNAL_FLAGS_NONE, onSignal, this, nullptr);
}

void DesktopNotices::onCapabilities(GObject* source, GAsyncResult* result, gpointer self) {
  g_autoptr(GError) error = nullptr;
  g_autoptr(GVariant) reply =
      g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) return;
  auto* display = static_cast<DesktopNotices*>(self);
  if (reply && g_variant_is_of_type(reply, G_VARIANT_TYPE("(as)"))) {
    g_autofree const char** names = nullptr;
    g_variant_get(reply, "(^a&s)", &names);
    display->readsMarkup_ = g_strv_contains(names, "body-markup");
  }
  display->state_ = Bus::connected;
  const auto waiting = std::exchange(display->waiting_, {});
  for (const auto& [id, notice] : waiting) display->send(id, notice);
}

void DesktopNotices::call(const char* method, GVariant* parameters, GAsyncReadyCallback done,
                          gpointer data) {
  g_dbus_connection_call(bus_, kService, kPath, kService, method, parameters, nullptr,
                         G_DBUS_CALL_FLAGS_NONE, -1, cancellable_, done, data);
}

void DesktopNotices::send(NoticeId id, const HostNotification& notice) {
  const std::string text = notice.text.value_or("");
  // D-Bus accepts only UTF-8, and so does the function that escapes markup.
  g_autofree char* valid = g_utf8_make_valid(text.c_str(), -1);
  g_autofree char* body = readsMarkup_ ? g_markup_escape_text(valid, -1) : g_strdup(valid);
  sending_.insert(id);
  call("Notify",
       g_variant_new("(susss@asa{sv}i)", application_.c_str(), 0u, iconName(notice),
                     application_.c_str(), body, actions(notice), nullptr,
                     milliseconds(notice.liveTime)),
       onSent, new Sent{this, id});
}

void DesktopNotices::onSent(GObject* source, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Sent> sent(static_cast<Sent*>(data));
  g_autoptr(GError) error = nullptr;
  g_autoptr(GVariant) reply =
      g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) return;
  if (!reply || !g_variant_is_of_type(reply, G_VARIANT_TYPE("(u)"))) {
    sent->display->sending_.erase(sent->id);
    return;
  }
  BubbleId bubble = 0;
  g_variant_get(reply, "(u)", &bubble);
  sent->display->opened(sent->id, bubble);
}

void DesktopNotices::opened(NoticeId id, BubbleId bubble) {
  if (sending_.erase(id) == 0) return closeBubble(bubble);  // withdrawn before the reply
  bubbles_[id] = bubble;
}

void DesktopNotices::closeBubble(BubbleId bubble) {
  call("CloseNotification", g_variant_new("(u)", bubble), nullptr, nullptr);
}

void DesktopNotices::onSignal(GDBusConnection*, const char*, const char*, const char*,
                              const char* signal, GVariant* parameters, gpointer self) {
  auto* display = static_cast<DesktopNotices*>(self);
  BubbleId bubble = 0;
  if (g_str_equal(signal, "ActionInvoked") &&
      g_variant_is_of_type(parameters, G_VARIANT_TYPE("(us)"))) {
    const char* key = nullptr;
    g_variant_get(parameters, "(u&s)", &bubble, &key);
    display->buttonPressed(bubble, key);
  } else if (g_str_equal(signal, "NotificationClosed") &&
             g_variant_is_of_type(parameters, G_VARIANT_TYPE("(uu)"))) {
    uint32_t reason = 0;
    g_variant_get(parameters, "(uu)", &bubble, &reason);
    display->bubbleClosed(bubble, reason);
  }
}

std::optional<NoticeId> DesktopNotices::noticeOf(BubbleId bubble) const {
  for (const auto& [id, shown] : bubbles_) {
    if (shown == bubble) return id;
  }
  return std::nullopt;
}

void DesktopNotices::buttonPressed(BubbleId bubble, const std::string& key) {
  const auto id = noticeOf(bubble);
  if (id && (key == "1" || key == "2")) notices_.answer(*id, key == "1" ? 1 : 2);
}

void DesktopNotices::bubbleClosed(BubbleId bubble, uint32_t reason) {
  const auto id = noticeOf(bubble);
  if (!id) return;
  bubbles_.erase(*id);
  if (reason == kDismissedByUser) notices_.answer(*id, 0);
}

}  // namespace revwarden
