#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/notices.h"

namespace revwarden {

/// Shows notices as bubbles on the desktop, through the notification service of the session bus.
///
/// Connects to the bus with the first notice; shows nothing if there is no bus. Never blocks. A
/// notice stays open when its bubble expires. Main thread.
class DesktopNotices final : public NoticeDisplay {
 public:
  /// `notices` receives the answers. `application` is the title of the bubbles.
  DesktopNotices(Notices& notices, std::string application);
  ~DesktopNotices() override;
  DesktopNotices(const DesktopNotices&) = delete;
  DesktopNotices& operator=(const DesktopNotices&) = delete;

  void show(NoticeId id, const HostNotification& notice) override;
  void withdraw(NoticeId id) override;

  /// The number of bubbles that the service has confirmed and not closed.
  size_t bubbles() const { return bubbles_.size(); }

 private:
  enum class Bus { untried, connecting, connected, missing };
  using BubbleId = uint32_t;  // of the notification service
  struct Sent;

  void connect();
  void subscribe();
  void send(NoticeId id, const HostNotification& notice);
  void call(const char* method, GVariant* parameters, GAsyncReadyCallback done, gpointer data);
  void opened(NoticeId id, BubbleId bubble);
  void closeBubble(BubbleId bubble);
  std::optional<NoticeId> noticeOf(BubbleId bubble) const;
  void buttonPressed(BubbleId bubble, const std::string& key);
  void bubbleClosed(BubbleId bubble, uint32_t reason);

  static void onConnected(GObject* source, GAsyncResult* result, gpointer self);
  static void onCapabilities(GObject* source, GAsyncResult* result, gpointer self);
  static void onSent(GObject* source, GAsyncResult* result, gpointer sent);
  static void onSignal(GDBusConnection* bus, const char* sender, const char* path,
                       const char* interface, const char* signal, GVariant* parameters,
                       gpointer self);

  Notices& notices_;
  const std::string application_;
  GCancellable* const cancellable_;
  Bus state_ = Bus::untried;
  GDBusConnection* bus_ = nullptr;
  guint subscription_ = 0;
  bool readsMarkup_ = false;
  std::vector<std::pair<NoticeId, HostNotification>> waiting_;  // for the connection
  std::set<NoticeId> sending_;                                  // until the service replies
  std::map<NoticeId, BubbleId> bubbles_;
};

}  // namespace revwarden
