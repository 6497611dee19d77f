#pragma once

#include "platform/log.h"

namespace revwarden {

class EventLog;

/// The agent's log lines: one line each on standard error, and an event.
class HostLog final : public Log {
 public:
  explicit HostLog(EventLog& events) : events_(events) {}

  void NSLog(std::string_view format, const Arguments& arguments) override;
  void KQLog(std::string_view format, const Arguments& arguments) override;

 private:
  void write(const char* channel, std::string_view format, const Arguments& arguments);

  EventLog& events_;
};

}  // namespace revwarden
