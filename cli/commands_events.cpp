#include <algorithm>
#include <ctime>

#include "base/text.h"
#include "catalogue/record_keys.h"
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
  if (event.method == "agent:didStartUpdateItem:") return "Update begins: " + name;
  if (event.method == "agent:didStopUpdateItem:") return "Update has ended: " + name;
  std::string words = "Update goes on: " + name;
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

// Something that the agent asked of the desktop, and whether it came about.
struct DeedWords {
  const char* method;
  size_t outcome;  // the place of the flag
  const char* done;
  const char* notDone;
};
constexpr DeedWords kDeeds[] = {
    {"rootTaskWithPrompt:", 1, "Administrator rights granted: ", "Administrator rights refused: "},
    {"openURL:", 1, "Opened: ", "Could not be opened: "},
    {"selectFile:inFileViewerRootedAtPath:", 2,
     "Shown in the file viewer: ", "Could not be shown in the file viewer: "},
    {"activateHostApp", 1, "Started: ", "Could not be started: "},
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

}  // namespace

std::string eventText(const AgentEvent& event) {
  for (const EventWords& plain : kPlainEvents) {
    if (event.method == plain.method) return plain.words;
  }
  if (event.method == "log") return event.text(0) + ": " + event.text(1);
  for (const DeedWords& deed : kDeeds) {
    if (event.method != deed.method) continue;
    return (event.parameter(deed.outcome) == true ? deed.done : deed.notDone) + event.text(0);
  }
  if (event.method == "rootTask") return rootTaskWords(event);
  if (event.method == "addSilentRemoveBundleID:") {
    return "Replaced by an update, not removed: " + event.text(0);
  }
  if (event.method == "updateService") return serviceWords(event);
  if (event.method == "showNotification:") return noticeWords(event);
  if (event.method == "agent:didChangeStatusForItems:") return statusChangeWords(event);
  if (event.method.rfind("agent:did", 0) == 0) return jobWords(event);
  return event.method + " " + event.params.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string eventJson(const AgentEvent& event) {
  return jsonText({{"method", event.method}, {"params", event.params}}, -1) + "\n";
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
