#include "host/notices.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "host/event_log.h"
#include "host/json_values.h"
#include "platform/run_loop.h"
#include "protocol/names.h"

namespace revwarden {
namespace {

std::optional<std::string> iconText(const HostNotification& notice) {
  if (!notice.icon) return std::nullopt;
  return notice.icon->value;
}

std::string description(NoticeId id, const HostNotification& notice) {
  return jsonObject({{"id", std::to_string(id)},
                     {"text", jsonTextOrNull(notice.text)},
                     {"icon", jsonTextOrNull(iconText(notice))},
                     {"liveTime", jsonTextOrNull(notice.liveTime)},
                     {"button1Text", jsonTextOrNull(notice.button1Text)},
                     {"button1Action", jsonTextOrNull(notice.button1Action)},
                     {"button2Text", jsonTextOrNull(notice.button2Text)},
                     {"userInfo", jsonTextOrNull(notice.userInfo)}});
}

}  // namespace

void Notices::show(const HostNotification& notice) {
  const NoticeId id = open(notice);
  events_.append(events::kShowNotification, jsonList({description(id, notice)}));
  if (!display_) return;
  mainLoop_.post([this, id, notice] {
    if (isOpen(id)) display_->show(id, notice);
  });
}

NoticeId Notices::open(const HostNotification& notice) {
  std::optional<OpenNotice> dropped;
  NoticeId id;
  {
    const std::lock_guard lock(mutex_);
    id = ++lastId_;
    open_.emplace_back(id, notice);
    if (open_.size() > kMostOpen) {
      dropped = std::move(open_.front());
      open_.pop_front();
    }
  }
  if (!dropped) return id;
  // The notice may hold the last reference to its target, which must be destroyed on the main
  // thread.
  const auto last = std::make_shared<OpenNotice>(std::move(*dropped));
  mainLoop_.post([this, last] {
    if (display_) display_->withdraw(last->first);
  });
  return id;
}

bool Notices::isOpen(NoticeId id) {
  const std::lock_guard lock(mutex_);
  return std::any_of(open_.begin(), open_.end(),
                     [id](const OpenNotice& open) { return open.first == id; });
}

bool Notices::answer(NoticeId id, int button) {
  std::optional<HostNotification> answered;
  {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(open_.begin(), open_.end(),
                                    [id](const OpenNotice& open) { return open.first == id; });
    if (found == open_.end()) return false;
    answered = std::move(found->second);
    open_.erase(found);
  }
  if (display_) display_->withdraw(id);
  if (button == 1 && answered->target && answered->button1Action) {
    answered->target->performAction(*answered->button1Action);
  }
  return true;
}

std::string Notices::openNotices() {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> descriptions;
  for (const auto& [id, notice] : open_) descriptions.push_back(description(id, notice));
  return jsonList(descriptions);
}

}  // namespace revwarden
