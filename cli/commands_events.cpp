#include <algorithm>
#include <ctime>

#include "base/text.h"
#include "catalogue/record_keys.h"
#include "cli/commands.h"
#include "cli/records.h"
#include "cli/update_jobs.h"
#include "protocol/names.h"

// The command "watch": the agent's events as they happen, for people or as JSON lines.
namespace revwarden {
namespace {

struct EventWords {
  const char* method;
  const char* words;
};
// Events without parameters.
constexpr EventWords kPlainEvents[] = {
    {events::kItemsDidChange, "The applications on record have changed"},
    {events::kDidStartValidateItem, "A pass starts"},
    {events::kDidFinishValidateItem, "The pass has ended"},
    {events::kDidFinishUpdatingList, "The list of applications is up to date"},
    {events::kDidStartQueue, "The install queue starts"},
    {events::kDidStopQueue, "The install queue has ended"},
    {events::kOpenRevwarden, "The user wants to see the updates"},
};

std::string recordWords(const Json& record) {
  if (!record.is_object()) return "unknown";
  std::string words = displayName(record);
  if (recordFlag(record, kKQRWIsFavouriteKey)) words += ", starred";
  if (recordFlag(record, kKQRWIsInBlackList)) words += ", ignored";
  if (recordFlag(record, kKQRWInstallerIsInQueueKey)) words += ", in the queue";
  return words;
}

std::string statusChangeWords(const AgentEvent& event) {
  std::string words = "Changed:";
  const Json& records = event.parameter(0);
  if (!records.is_array() || records.empty()) return words + " nothing";
  for (const Json& record : records) {
    words += (&record == &records.front() ? " " : "; ") + recordWords(record);
  }
  return words;
}

std::string jobWords(const AgentEvent& event) {
  const Json& record = event.parameter(0);
  const std::string name = record.is_object() ? displayName(record) : "unknown";
  if (event.method == events::kDidStartUpdate) return "Update starts: " + name;
  if (event.method == events::kDidStopUpdate) return "Update has ended: " + name;
  std::string words = "Update continues: " + name;
  if (!record.is_object()) return words;
  const SimpleAction action = actionOf(record);
  words += action == SimpleAction::done     ? ", done"
           : action == SimpleAction::failed ? ", failed"
                                            : ", " + jobText(record);
  const int64_t received = recordNumber(record, kKQRWInstallerReceivedBytesKey);
  return received > 0 ? words + ", " + std::to_string(received) + " bytes" : words;
}

std::string rootTaskWords(const AgentEvent& event) {
  const std::string error = event.text(2);
  return "With administrator rights: " + event.text(0) + " " + event.text(1) +
         (error.empty() ? "" : ", failed: " + error);
}

// A request of the agent to the system, and whether it succeeded.
struct RequestWords {
  const char* method;
  size_t flag;  // the index of the parameter that says so
  const char* done;
  const char* notDone;
};
constexpr RequestWords kRequests[] = {
    {events::kRootTaskWithPrompt, 1,
     "Administrator rights granted: ", "Administrator rights refused: "},
    {events::kOpenURL, 1, "Opened: ", "Could not be opened: "},
    {events::kSelectFile, 2,
     "Shown in the file viewer: ", "Could not be shown in the file viewer: "},
    {events::kActivateHostApp, 1, "Started: ", "Could not be started: "},
};

std::string serviceWords(const AgentEvent& event) {
  const std::string error = event.text(3);
  return "Update service " + event.text(0) + ": " +
         (error.empty() ? "status " + event.text(1) + ", " + event.text(2) + " bytes" : error);
}

std::string noticeWords(const AgentEvent& event) {
  const Json& notice = event.parameter(0);
  if (!notice.is_object()) return "Notice";
  return "Notice " + notice.value("id", Json()).dump() + ": " + recordText(notice, "text");
}

std::string jobOutcomeWords(const Json& job) {
  if (!job.is_object()) return "Outcome: unknown";
  return "Outcome: " + recordText(job, outcome::kName) + ": " + resultOf(job).text;
}

std::string checkOutcomeWords(const Json& check) {
  if (!check.is_object()) return "Check: unknown";
  const std::string reason = recordText(check, outcome::kReason);
  return "Check: " + recordText(check, outcome::kOutcome) + ", " +
         std::to_string(recordNumber(check, outcome::kAnswered)) + " of " +
         std::to_string(recordNumber(check, outcome::kAsked)) + " applications answered" +
         (reason.empty() ? "" : ": " + reason);
}

}  // namespace

std::string eventText(const AgentEvent& event) {
  for (const EventWords& plain : kPlainEvents) {
    if (event.method == plain.method) return plain.words;
  }
  if (event.method == events::kLog) return event.text(0) + ": " + event.text(1);
  for (const RequestWords& request : kRequests) {
    if (event.method != request.method) continue;
    return (event.parameter(request.flag) == true ? request.done : request.notDone) + event.text(0);
  }
  if (event.method == events::kRootTask) return rootTaskWords(event);
  if (event.method == events::kAddSilentRemove) {
    return "Replaced by an update, not removed: " + event.text(0);
  }
  if (event.method == events::kUpdateService) return serviceWords(event);
  if (event.method == events::kShowNotification) return noticeWords(event);
  if (event.method == events::kJobEnded) return jobOutcomeWords(event.parameter(0));
  if (event.method == events::kCheckEnded) return checkOutcomeWords(event.parameter(0));
  if (event.method == events::kDidChangeStatus) return statusChangeWords(event);
  for (const char* method :
       {events::kDidStartUpdate, events::kDidChangeUpdate, events::kDidStopUpdate}) {
    if (event.method == method) return jobWords(event);
  }
  return event.method + " " + event.params.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string eventJson(const AgentEvent& event) {
  return jsonText({{"method", event.method}, {"params", event.params}}, -1) + "\n";
}

int runWatch(CommandContext& context) {
  for (;;) {
    const auto next = context.agent.connection().nextEvent(std::nullopt);
    if (!next) {
      complain(next.error().message);
      return next.error().code == connection_error::kEnded ? kOk : kFailed;
    }
    const AgentEvent& event = **next;  // without a time limit there is one
    if (context.json) {
      print(eventJson(event));
    } else {
      std::string time = localTimeText(std::time(nullptr)).substr(11) + "  ";
      for (const std::string& line : cleanedLines(eventText(event))) {
        print(time + line + "\n");
        time.assign(time.size(), ' ');
      }
    }
    if (outputIsLost()) return kFailed;
  }
}

}  // namespace revwarden
