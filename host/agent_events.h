#pragma once

#include <optional>

#include "catalogue/kqrw_agent_delegate.h"
#include "platform/log.h"
#include "platform/outcomes.h"

// What the agent reports, as events of the log.
namespace revwarden {

class EventLog;

/// The agent's delegate: each call becomes an event named by its selector, without the agent.
class DelegateEvents final : public KQRWAgentDelegate {
 public:
  explicit DelegateEvents(EventLog& events) : events_(events) {}

  void itemsDidChangeInAgent(KQRWAgent& agent) override;
  void agentDidStartValidateItem(KQRWAgent& agent) override;
  void agentDidFinishValidateItem(KQRWAgent& agent) override;
  void agentDidFinishUpdatingApplicationList(KQRWAgent& agent) override;
  void agent_didChangeStatusForItems(KQRWAgent& agent,
                                     const std::vector<Dictionary>& items) override;
  void didStartQueueInAgent(KQRWAgent& agent) override;
  void didStopQueueInAgent(KQRWAgent& agent) override;
  void agent_didStartUpdateItem(KQRWAgent& agent, const Dictionary& item) override;
  void agent_didStopUpdateItem(KQRWAgent& agent, const Dictionary& item) override;
  void agent_didChangeUpdatedStatusForItem(KQRWAgent& agent, const Dictionary& item) override;
  void openRevwarden() override;

 private:
  EventLog& events_;
};

/// The outcomes of jobs and checks: the events `host.jobEnded` and `host.checkEnded`.
class OutcomeEvents final : public OutcomeReceiver {
 public:
  explicit OutcomeEvents(EventLog& events) : events_(events) {}

  void jobEnded(const JobOutcome& outcome) override;
  void checkEnded(const CheckOutcome& outcome) override;

  /// When the last check of this process ended, and the last one that the service answered. A
  /// refresh that needed no check does not count. Main thread.
  const std::optional<Date>& lastCheck() const { return lastCheck_; }
  const std::optional<Date>& lastAnswered() const { return lastAnswered_; }

 private:
  EventLog& events_;
  std::optional<Date> lastCheck_;
  std::optional<Date> lastAnswered_;
};

/// The agent's log lines: each is one line on standard error, and an event. Any thread.
///
/// A line can hold a whole response of the service. The line and each of its arguments are cut
/// after 1 MiB, with a mark that says how much is missing.
class LogEvents final : public Log {
 public:
  explicit LogEvents(EventLog& events) : events_(events) {}

  void NSLog(std::string_view format, const Arguments& arguments) override;
  void KQLog(std::string_view format, const Arguments& arguments) override;

 private:
  void write(const char* channel, std::string_view format, const Arguments& arguments);

  EventLog& events_;
};

}  // namespace revwarden
