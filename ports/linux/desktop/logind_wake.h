#pragma once

#include <gio/gio.h>

#include <memory>

#include "platform/workspace.h"

namespace revwarden {

/// Reports the wake from sleep that the login manager announces on the system bus. Main thread.
///
/// Connects to the bus in the background. On a machine without a bus or a login manager, only
/// `deliver` reports a wake.
class LogindWake final : public WakeNotifications {
 public:
  /// The announcements arrive through the run loop of the main thread, which must exist.
  static std::unique_ptr<LogindWake> create();

  ~LogindWake() override;
  LogindWake(const LogindWake&) = delete;
  LogindWake& operator=(const LogindWake&) = delete;

  [[nodiscard]] std::unique_ptr<Observation> observeDidWake(std::function<void()> handler) override;

  /// Calls the handlers now, for a wake that the host learns of in another way. A handler may end
  /// its own observation and others; one that is added during the call is not called.
  void deliver();

 private:
  class Registration;
  struct Observers;

  LogindWake();
  void connect();
  static void connected(GObject* source, GAsyncResult* result, gpointer self);
  static void preparesForSleep(GDBusConnection* connection, const gchar* sender, const gchar* path,
                               const gchar* interface, const gchar* signal, GVariant* parameters,
                               gpointer self);

  const std::shared_ptr<Observers> observers_;
  GCancellable* const connecting_;
  GDBusConnection* bus_ = nullptr;
  guint subscription_ = 0;
};

}  // namespace revwarden
