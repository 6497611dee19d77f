#include <algorithm>
#include <ctime>

#include "agent/record_keys.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/records.h"

namespace revwarden {
namespace {

struct EventWords {
  const char* method;
  const char* words;
};
// Events that say everything by their name.
constexpr EventWords kPlainEvents[] = {
    {"itemsDidChangeInAgent:", "The applications on record have changed"},
    {"agentDidStartValidateItem:", "A pass begins"},
    {"agentDidFinishValidateItem:", "The pass has ended"},
    {"agentDidFinishUpdatingApplicationList:", "The list of applications is up to date"},
    {"didStartQueueInAgent:", "The install queue starts"},
    {"didStopQueueInAgent:", "The install queue has ended"},
    {"openRevwarden", "The updates are to be shown"},
};

const Json& parameter(const AgentEvent& event, size_t index) {
  static const Json absent;
  return event.params.is_array() && index < event.params.size() ? event.params[index] : absent;
}

std::string textParameter(const AgentEvent& event, size_t index) {
  const Json& value = parameter(event, index);
  return value.is_string() ? value.get<std::string>() : value.is_null() ? "" : value.dump();
}

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
  const Json& records = parameter(event, 0);
  if (!records.is_array() || records.empty()) return words + " nothing";
  for (const Json& record : records) {
    words += (&record == &records.front() ? " " : "; ") + recordWords(record);
  }
  return words;
}

std::string jobWords(const AgentEvent& event) {
  const Json& record = parameter(event, 0);
  const std::string name = recordWords(record);
  if (event.method == "agent:didStartUpdateItem:") return "Update begins: " + name;
  if (event.method == "agent:didStopUpdateItem:") return "Update has ended: " + name;
  const int64_t received =
      record.is_object() ? recordNumber(record, kKQRWInstallerReceivedBytesKey) : 0;
  return "Update goes on: " + name + ", " + std::to_string(received) + " bytes";
}

std::string serviceWords(const AgentEvent& event) {
  const std::string error = textParameter(event, 3);
  return "Update service " + textParameter(event, 0) + ": " +
         (error.empty()
              ? "status " + textParameter(event, 1) + ", " + textParameter(event, 2) + " bytes"
              : error);
}

std::string noticeWords(const AgentEvent& event) {
  const Json& notice = parameter(event, 0);
  if (!notice.is_object()) return "Notice";
  return "Notice " + notice.value("id", Json()).dump() + ": " + recordText(notice, "text");
}

}  // namespace

std::string eventText(const AgentEvent& event) {
  for (const EventWords& plain : kPlainEvents) {
    if (event.method == plain.method) return plain.words;
  }
  if (event.method == "log") return textParameter(event, 0) + ": " + textParameter(event, 1);
  if (event.method == "updateService") return serviceWords(event);
  if (event.method == "showNotification:") return noticeWords(event);
  if (event.method == "agent:didChangeStatusForItems:") return statusChangeWords(event);
  if (event.method.rfind("agent:did", 0) == 0) return jobWords(event);
  return event.method + " " + event.params.dump(-1, ' ', false, Json::error_handler_t::replace);
}

int runWatch(CommandContext& context) {
  for (AgentEvent event;;) {
    switch (context.agent.connection().nextEvent(event, std::nullopt)) {
      case AgentConnection::Wait::timedOut:
        continue;
      case AgentConnection::Wait::ended:
        complain("The agent has ended.");
        return kOk;
      case AgentConnection::Wait::broken:
        complain("The agent is not understood: " + context.agent.connection().brokenText() + ".");
        return kFailed;
      case AgentConnection::Wait::event:
        break;
    }
    if (context.json) {
      print(jsonText({{"method", event.method}, {"params", event.params}}, -1) + "\n");
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
