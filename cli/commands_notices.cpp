#include <unistd.h>

#include <iostream>

#include "cli/commands.h"
#include "cli/records.h"
#include "protocol/names.h"

// The command "notices": shows the open notices and answers them.
namespace revwarden {
namespace {

std::string idText(const Json& notice) {
  const Json id = notice.value("id", Json());
  return id.is_string() ? cleaned(id.get<std::string>()) : id.dump();
}

std::optional<std::vector<Json>> openNotices(AgentSession& agent) {
  const auto list = agent.call(methods::kHostNotices);
  if (!list) return std::nullopt;
  std::vector<Json> notices;
  for (const Json& notice : list->is_array() ? *list : Json::array()) {
    if (notice.is_object()) notices.push_back(notice);
  }
  return notices;
}

void printNotice(const Json& notice) {
  std::string indent = idText(notice) + "  ";
  for (const std::string& line : cleanedLines(recordText(notice, "text"))) {
    print(indent + line + "\n");
    indent.assign(indent.size(), ' ');
  }
  std::string buttons;
  for (const int number : {1, 2}) {
    const std::string key = "button" + std::to_string(number) + "Text";
    const std::string label = cleaned(recordText(notice, key.c_str()));
    if (!label.empty()) buttons += std::to_string(number) + " " + label + "   ";
  }
  print(indent + "[" + buttons + "0 dismiss]\n");
}

// Sends the answer; says so when the notice was not open.
int answerNotice(CommandContext& context, const Json& id, int button) {
  const auto wasOpen =
      context.agent.call(methods::kHostAnswerNotification, Json::array({id, button}));
  if (!wasOpen) return kFailed;
  const std::string shownId = id.is_string() ? cleaned(id.get<std::string>()) : id.dump();
  if (context.json) print(jsonText({{"id", id}, {"open", *wasOpen}}) + "\n");
  if (*wasOpen == true) return kOk;
  complain("Notice " + shownId + " is not open.");
  return kFailed;
}

int answerById(CommandContext& context, const NoticeAnswer& answer) {
  const auto notices = openNotices(context.agent);
  if (!notices) return kFailed;
  for (const Json& notice : *notices) {
    if (idText(notice) == answer.id)
      return answerNotice(context, notice.value("id", Json()), answer.button);
  }
  complain("Notice " + cleaned(answer.id) + " is not open.");
  return kFailed;
}

int askForAnswers(CommandContext& context, const std::vector<Json>& notices) {
  for (const Json& notice : notices) {
    printNotice(notice);
    print("Answer 1, 2 or 0, Enter to leave it open: ");
    if (outputIsLost()) return kFailed;
    context.agent.disconnect();
    std::string reply;
    if (!std::getline(std::cin, reply)) break;
    if (reply != "0" && reply != "1" && reply != "2") continue;
    if (!context.agent.reconnect()) return kNoAgent;
    answerNotice(context, notice.value("id", Json()), reply[0] - '0');
  }
  return kOk;
}

}  // namespace

int runNotices(CommandContext& context, const std::optional<NoticeAnswer>& answer) {
  if (answer) return answerById(context, *answer);
  const auto notices = openNotices(context.agent);
  if (!notices) return kFailed;
  if (context.json) {
    print(jsonText(*notices) + "\n");
    return kOk;
  }
  if (notices->empty()) {
    print("No notice is open.\n");
    return kOk;
  }
  if (context.terminal.columns && isatty(STDIN_FILENO)) return askForAnswers(context, *notices);
  for (const Json& notice : *notices) printNotice(notice);
  return kOk;
}

}  // namespace revwarden
