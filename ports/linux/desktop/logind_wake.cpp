#include "ports/linux/desktop/logind_wake.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace revwarden {

/// Shared with the registrations, which may outlive the `LogindWake`.
struct LogindWake::Observers {
  using Handler = std::function<void()>;
  std::vector<std::shared_ptr<const Handler>> handlers;

  bool holds(const std::shared_ptr<const Handler>& handler) const {
    return std::find(handlers.begin(), handlers.end(), handler) != handlers.end();
  }
};

class LogindWake::Registration final : public Observation {
 public:
  Registration(std::shared_ptr<Observers> observers,
               std::shared_ptr<const Observers::Handler> handler)
      : observers_(std::move(observers)), handler_(std::move(handler)) {}
  ~Registration() override {
    auto& handlers = observers_->handlers;
    handlers.erase(std::remove(handlers.begin(), handlers.end(), handler_), handlers.end());
  }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

 private:
  const std::shared_ptr<Observers> observers_;
  const std::shared_ptr<const Observers::Handler> handler_;
};

std::unique_ptr<LogindWake> LogindWake::create() {
  std::unique_ptr<LogindWake> wake(new LogindWake());
  wake->connect();
  return wake;
}

LogindWake::LogindWake()
    : observers_(std::make_shared<Observers>()), connecting_(g_cancellable_new()) {}

LogindWake::~LogindWake() {
  g_cancellable_cancel(connecting_);
  g_object_unref(connecting_);
  if (!bus_) return;
  g_dbus_connection_signal_unsubscribe(bus_, subscription_);
  g_dbus_connection_close(bus_, nullptr, nullptr, nullptr);
  g_object_unref(bus_);
}

std::unique_ptr<Observation> LogindWake::observeDidWake(std::function<void()> handler) {
  auto shared = std::make_shared<const Observers::Handler>(std::move(handler));
  observers_->handlers.push_back(shared);
  return std::make_unique<Registration>(observers_, std::move(shared));
}

void LogindWake::deliver() {
  const auto observers = observers_;  // a handler may destroy this object
  const auto handlers = observers->handlers;
  for (const auto& handler : handlers) {
    if (observers->holds(handler)) (*handler)();
  }
}

void LogindWake::connect() {
  // Not the shared connection, which ends the process when the bus disconnects.
  gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  if (!address) return;
  const auto flags =
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  g_dbus_connection_new_for_address(address, flags, nullptr, connecting_, connected, this);
  g_free(address);
}

void LogindWake::connected(GObject*, GAsyncResult* result, gpointer self) {
  GError* error = nullptr;
  GDBusConnection* bus = g_dbus_connection_new_for_address_finish(result, &error);
  if (!bus) {  // if cancelled, `self` was destroyed
    g_error_free(error);
    return;
  }
  auto& wake = *static_cast<LogindWake*>(self);
  wake.bus_ = bus;
  wake.subscription_ = g_dbus_connection_signal_subscribe(
      bus, "org.freedesktop.login1", "org.freedesktop.login1.Manager", "PrepareForSleep",
      "/org/freedesktop/login1", nullptr, G_DBUS_SIGNAL_FLAGS_NONE, preparesForSleep, self,
      nullptr);
}

void LogindWake::preparesForSleep(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                  const gchar*, GVariant* parameters, gpointer self) {
  if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(b)"))) return;
  gboolean goesToSleep = FALSE;
  g_variant_get(parameters, "(b)", &goesToSleep);
  if (!goesToSleep) static_cast<LogindWake*>(self)->deliver();
}

}  // namespace revwarden
