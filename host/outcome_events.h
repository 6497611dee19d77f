#pragma once

#include <optional>

#include "platform/outcomes.h"

namespace revwarden {

class EventLog;

/// Turns the outcomes of jobs and checks into the events `host.jobEnded` and `host.checkEnded`.
class OutcomeEvents final : public OutcomeReceiver {
 public:
  explicit OutcomeEvents(EventLog& events) : events_(events) {}

  void jobEnded(const JobOutcome& outcome) override;
  void checkEnded(const CheckOutcome& outcome) override;

  /// When the last check of this process ended, and the last that the service answered. A refresh
  /// that needed no check does not count. Main thread.
  const std::optional<Date>& lastCheck() const { return lastCheck_; }
  const std::optional<Date>& lastAnswered() const { return lastAnswered_; }

 private:
  EventLog& events_;
  std::optional<Date> lastCheck_;
  std::optional<Date> lastAnswered_;
};

}  // namespace revwarden
