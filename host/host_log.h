#pragma once

#include "platform/log.h"

namespace revwarden {

class EventLog;

/// The agent's log lines: one line each on standard error, and an event.
///
/// A line may hold a whole answer of the service. What a text has beyond the first MiB, the line or
/// one of its arguments, is left out, which a mark at its end tells.
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
