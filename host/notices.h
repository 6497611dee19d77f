#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <utility>

#include "platform/host_application.h"

namespace revwarden {

class EventLog;
class RunLoop;

using NoticeId = uint64_t;

/// Shows notices to the user, besides the clients of the socket. Main thread.
class NoticeDisplay {
 public:
  virtual ~NoticeDisplay() = default;

  virtual void show(NoticeId id, const HostNotification& notice) = 0;
  /// Removes a notice that was answered elsewhere. Unknown ids are ignored.
  virtual void withdraw(NoticeId id) = 0;
};

/// The open notices: those that wait for an answer, the latest `kMostOpen` of them.
class Notices {
 public:
  static constexpr size_t kMostOpen = 100;

  Notices(EventLog& events, RunLoop& mainLoop) : events_(events), mainLoop_(mainLoop) {}

  /// Call it before the first notice. nullptr: no display. Not owned.
  void setDisplay(NoticeDisplay* display) { display_ = display; }

  /// Opens the notice, sends its event and shows it on the display. Any thread.
  void show(const HostNotification& notice);

  /// Closes the notice with the button that the user pressed: 1, 2, or 0 to dismiss it. For button
  /// 1 its target performs the button's action. Returns true if the notice was open. Main thread.
  bool answer(NoticeId id, int button);

  /// Returns the open notices as a JSON array, oldest first, each as in its event. Any thread.
  std::string openNotices();

 private:
  using OpenNotice = std::pair<NoticeId, HostNotification>;

  NoticeId open(const HostNotification& notice);
  bool isOpen(NoticeId id);

  EventLog& events_;
  RunLoop& mainLoop_;
  NoticeDisplay* display_ = nullptr;
  std::mutex mutex_;  // no other lock is taken under it
  NoticeId lastId_ = 0;
  std::deque<OpenNotice> open_;  // by id
};

}  // namespace revwarden
