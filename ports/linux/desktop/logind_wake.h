#pragma once

#include <gio/gio.h>

#include <memory>

#include "platform/workspace.h"

namespace revwarden {

/// Wake from sleep as the login manager announces it on the system bus. Main thread.
///
/// The bus is connected to in the background. On a machine without one, or without a login manager,
/// nothing is announced and only `deliver` tells of a wake.
class LogindWake final : public WakeNotifications {
 public:
  /// The announcements arrive through the run loop of the main thread, which must exist already.
  static std::unique_ptr<LogindWake> create();

  ~LogindWake() override;
  LogindWake(const LogindWake&) = delete;
  LogindWake& operator=(const LogindWake&) = delete;

  [[nodiscard]] std::unique_ptr<Observation> observeDidWake(std::function<void()> handler) override;

  /// Calls the handlers now, for hosts that learn of a wake by other means. A handler may end its
  /// own observation and others; one added meanwhile is not called.
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
