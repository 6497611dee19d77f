#include "ports/linux/desktop/file_viewer.h"

#include <gio/gio.h>

#include <cstdlib>

#include "base/text.h"

namespace revwarden {
namespace {

constexpr char kService[] = "org.freedesktop.FileManager1";
constexpr char kObject[] = "/org/freedesktop/FileManager1";
constexpr guint kTimeout = 10;  // seconds

/// Returns "" without a session bus. Not by GIO, whose search may start a bus for the display.
std::string sessionBusAddress() {
  const char* const address = getenv("DBUS_SESSION_BUS_ADDRESS");
  if (address && *address) return address;
  const char* const folder = getenv("XDG_RUNTIME_DIR");
  if (!folder || *folder != '/') return "";
  g_autofree char* escaped = g_dbus_address_escape_value(folder);
  return "unix:path=" + std::string(escaped) + "/bus";
}

/// One request, with a connection and a main context of its own on the calling thread.
class Request {
 public:
  explicit Request(std::string url) : url_(std::move(url)) {
    g_main_context_push_thread_default(context_);
    g_source_set_callback(deadline_, onDeadline, this, nullptr);
    g_source_attach(deadline_, context_);
  }
  ~Request() {
    g_source_destroy(deadline_);
    g_source_unref(deadline_);
    g_clear_object(&bus_);
    g_object_unref(cancellable_);
    g_main_context_pop_thread_default(context_);
    g_main_context_unref(context_);
  }
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  bool send(const std::string& address) {
    const auto flags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    g_dbus_connection_new_for_address(address.c_str(), flags, nullptr, cancellable_, onConnected,
                                      this);
    while (!isDone_) g_main_context_iteration(context_, TRUE);
    return isShown_;
  }

 private:
  static gboolean onDeadline(gpointer self) {
    g_cancellable_cancel(static_cast<Request*>(self)->cancellable_);
    return G_SOURCE_REMOVE;
  }

  static void onConnected(GObject*, GAsyncResult* result, gpointer data) {
    auto* const self = static_cast<Request*>(data);
    self->bus_ = g_dbus_connection_new_for_address_finish(result, nullptr);
    self->isDone_ = !self->bus_;
    if (self->isDone_) return;
    const char* const urls[] = {self->url_.c_str(), nullptr};
    g_dbus_connection_call(self->bus_, kService, kObject, kService, "ShowItems",
                           g_variant_new("(^ass)", urls, ""), nullptr, G_DBUS_CALL_FLAGS_NONE,
                           G_MAXINT, self->cancellable_, onAnswer, self);
  }

  static void onAnswer(GObject* bus, GAsyncResult* result, gpointer data) {
    auto* const self = static_cast<Request*>(data);
    g_autoptr(GVariant) answer =
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, nullptr);
    self->isShown_ = answer != nullptr;
    self->isDone_ = true;
  }

  const std::string url_;
  GMainContext* const context_ = g_main_context_new();
  GCancellable* const cancellable_ = g_cancellable_new();
  GSource* const deadline_ = g_timeout_source_new_seconds(kTimeout);
  GDBusConnection* bus_ = nullptr;
  bool isDone_ = false;
  bool isShown_ = false;
};

}  // namespace

bool showInFileViewer(const std::string& path) {
  const std::string address = sessionBusAddress();
  return !address.empty() && Request(fileURLWithPath(path)).send(address);
}

}  // namespace revwarden
