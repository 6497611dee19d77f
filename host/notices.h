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
  /// The notice was answered elsewhere. Unknown ids are ignored.
  virtual void withdraw(NoticeId id) = 0;
};

/// The notices that wait for an answer, the latest of them.
class Notices {
 public:
  static constexpr size_t kMostOpen = 100;

  Notices(EventLog& events, RunLoop& mainLoop) : events_(events), mainLoop_(mainLoop) {}

  /// Before the first notice; nullptr for none. Not owned.
  void setDisplay(NoticeDisplay* display) { display_ = display; }

  /// Opens the notice and tells clients and the display of it. Any thread.
  void show(const HostNotification& notice);

  /// The user pressed a button, 1 or 2, or dismissed the notice, 0: closes it and, for button 1,
  /// has its target perform the button's action. Whether it was open. Main thread.
  bool answer(NoticeId id, int button);

  /// The open notices as a JSON list, oldest first, each as its event tells of it. Any thread.
  std::string openNotices();

 private:
  using OpenNotice = std::pair<NoticeId, HostNotification>;

  NoticeId open(const HostNotification& notice);
  bool isOpen(NoticeId id);

  EventLog& events_;
  RunLoop& mainLoop_;
  NoticeDisplay* display_ = nullptr;
  std::mutex mutex_;  // a leaf
  NoticeId lastId_ = 0;
  std::deque<OpenNotice> open_;  // by id
};

}  // namespace revwarden
