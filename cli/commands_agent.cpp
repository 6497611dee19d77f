#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include "base/text.h"
#include "cli/commands.h"
#include "cli/records.h"

namespace revwarden {
namespace {

constexpr int64_t kDay = 86400;

struct Setting {
  const char* key;  // also the method that reads it
  const char* setter;
  const char* meaning;
};
constexpr Setting kSettings[] = {
    {"showRevwardenNotifications",
     "setShowRevwardenNotifications:", "tell of new updates in a notice"},
    {"updatesApplicationsFromAllLocalVolumes", "setUpdatesApplicationsFromAllLocalVolumes:",
     "look after applications on other local volumes too"},
};

// A program that update jobs call, and what cannot be done without it.
struct NeededProgram {
  const char* name;
  const char* package;
  const char* cost;
};
constexpr NeededProgram kNeededPrograms[] = {
    {"unzip", "unzip", "updates that come as zip archives cannot be installed"},
    {"7zz", "7zip", "updates that come as disk images cannot be installed"},
    {"pkexec", "pkexec", "applications that only the administrator may change are not updated"},
    {"xdg-open", "xdg-utils", "web pages and downloaded files cannot be opened"},
};

bool isOnPath(const std::string& program) {
  const char* path = std::getenv("PATH");
  std::string_view rest = path ? path : "/usr/local/bin:/usr/bin:/bin";
  for (;;) {
    const size_t end = rest.find(':');
    const std::string folder(rest.substr(0, end));
    const std::string file = (folder.empty() ? "." : folder) + "/" + program;
    if (access(file.c_str(), X_OK) == 0) return true;
    if (end == std::string_view::npos) return false;
    rest.remove_prefix(end + 1);
  }
}

Json missingPrograms() {
  Json missing = Json::array();
  for (const NeededProgram& program : kNeededPrograms) {
    if (isOnPath(program.name)) continue;
    missing.push_back(
        {{"program", program.name}, {"package", program.package}, {"cost", program.cost}});
  }
  return missing;
}

int64_t now() {
  return static_cast<int64_t>(std::time(nullptr));
}

std::string utcText(int64_t seconds) {
  const auto time = static_cast<time_t>(seconds);
  std::tm parts{};
  char text[40];
  if (!gmtime_r(&time, &parts)) return {};
  return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts));
}

// Everything that `status` tells, as its JSON object; absent when the agent does not tell.
std::optional<Json> gatheredStatus(CommandContext& context) {
  const auto version = context.agent.call("host.version");
  if (!version) return std::nullopt;
  const auto records = context.agent.records();
  if (!records) return std::nullopt;
  Json status = version->is_object() ? *version : Json::object();
  status["socket"] = context.agent.socketPath();
  status["items"] = records->size();
  status["outdated"] = std::count_if(records->begin(), records->end(), [&](const Json& record) {
    return isOutdated(record, context.versions);
  });
  for (const char* method : {"updateIsInProgress", "lastFireDate", kSettings[0].key,
                             kSettings[1].key, "totalUpdatesCount", "installerQueueCount"}) {
    auto value = context.agent.call(method);
    if (!value) return std::nullopt;
    status[method] = std::move(*value);
  }
  const auto last = secondsOfDate(status["lastFireDate"]);
  status["nextCheck"] = last ? Json(utcText(*last + kDay)) : Json();
  status["missing"] = missingPrograms();
  return status;
}

std::string onOff(const Json& value) {
  return value == true ? "on" : "off";
}

std::string shownText(const Json& value) {
  return value.is_string() ? cleaned(value.get<std::string>()) : value.dump();
}

std::string nextCheckText(const Json& status) {
  if (status["updateIsInProgress"] == true) return "when the pass under way has ended";
  const auto last = secondsOfDate(status["lastFireDate"]);
  return last && *last + kDay > now() ? localTimeText(*last + kDay) : "due now";
}

std::string queueText(const Json& count) {
  if (count == 0) return "empty";
  return count == 1 ? "1 job" : count.dump() + " jobs";
}

void printStatus(const Json& status) {
  const auto line = [](std::string label, const std::string& text) {
    label.resize(16, ' ');
    print(label + text + "\n");
  };
  line("Agent", shownText(status.value("agent", Json("unknown"))) + ", plug-in " +
                    shownText(status.value("plugin", Json("unknown"))));
  line("Socket", shownText(status["socket"]));
  line("Applications", status["items"].dump() + ", " + status["outdated"].dump() + " outdated");
  line("Pass", status["updateIsInProgress"] == true ? "under way" : "none under way");
  const auto last = secondsOfDate(status["lastFireDate"]);
  line("Last check", last ? localTimeText(*last) : "none on record");
  line("Next check", nextCheckText(status));
  line("Install queue", queueText(status["installerQueueCount"]));
  line("Updates done", status["totalUpdatesCount"].dump());
  for (const Setting& setting : kSettings) {
    line("Switch",
         std::string(setting.key) + " " + onOff(status[setting.key]) + ": " + setting.meaning);
  }
  for (const Json& program : status["missing"]) {
    line("Missing", recordText(program, "program") + ": " + recordText(program, "cost") +
                        " (Debian package " + recordText(program, "package") + ")");
  }
}

const Setting* settingNamed(const std::string& key) {
  for (const Setting& setting : kSettings) {
    if (asciiUpperCase(setting.key) == asciiUpperCase(key)) return &setting;
  }
  return nullptr;
}

std::optional<bool> switchValue(const std::string& text) {
  const std::string upper = asciiUpperCase(text);
  for (const char* yes : {"ON", "TRUE", "YES", "1"}) {
    if (upper == yes) return true;
  }
  for (const char* no : {"OFF", "FALSE", "NO", "0"}) {
    if (upper == no) return false;
  }
  return std::nullopt;
}

int printSettings(CommandContext& context, const Setting* only) {
  Json values = Json::object();
  for (const Setting& setting : kSettings) {
    if (only && only != &setting) continue;
    auto value = context.agent.call(setting.key);
    if (!value) return kFailed;
    if (!context.json) print(std::string(setting.key) + " " + onOff(*value) + "\n");
    values[setting.key] = std::move(*value);
  }
  if (context.json) print(jsonText(values) + "\n");
  return kOk;
}

}  // namespace

std::optional<int64_t> secondsOfDate(const Json& date) {
  if (!date.is_string()) return std::nullopt;
  std::tm parts{};
  const auto text = date.get<std::string>();
  if (!strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &parts)) return std::nullopt;
  return static_cast<int64_t>(timegm(&parts));
}

std::string localTimeText(int64_t secondsSince1970) {
  const auto time = static_cast<time_t>(secondsSince1970);
  std::tm parts{};
  char text[40];
  if (!localtime_r(&time, &parts)) return {};
  return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts));
}

int runStatus(CommandContext& context) {
  const auto status = gatheredStatus(context);
  if (!status) return kFailed;
  if (context.json) {
    print(jsonText(*status) + "\n");
  } else {
    printStatus(*status);
    if ((*status)["items"] == 0) explainNoApplications(context.agent);
  }
  return kOk;
}

int runSettings(CommandContext& context, const std::optional<std::string>& key,
                const std::optional<std::string>& value) {
  if (!key) return printSettings(context, nullptr);
  const Setting* setting = settingNamed(*key);
  if (!setting) {
    complain("No setting \"" + cleaned(*key) + "\". There are " + kSettings[0].key + " and " +
             kSettings[1].key + ".");
    return kUsage;
  }
  if (!value) return printSettings(context, setting);
  const auto on = switchValue(*value);
  if (!on) {
    complain("\"" + cleaned(*value) + "\" is neither on nor off.");
    return kUsage;
  }
  if (!context.agent.call(setting->setter, Json::array({*on}))) return kFailed;
  return printSettings(context, setting);
}

}  // namespace revwarden
