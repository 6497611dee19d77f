#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include "base/text.h"
#include "cli/commands.h"
#include "cli/records.h"
#include "protocol/names.h"

// The commands about the agent itself: "status" and "settings".
namespace revwarden {
namespace {

constexpr double kDay = 86400;  // s

struct Setting {
  const char* key;  // also the method that reads it
  const char* setter;
  const char* meaning;
};
constexpr Setting kSettings[] = {
    {methods::kShowNotifications, methods::kSetShowNotifications,
     "show a notice about new updates"},
    {methods::kUpdatesFromAllVolumes, methods::kSetUpdatesFromAllVolumes,
     "include applications on other local volumes"},
};

// A program that update jobs call, and the cost if it is missing.
struct NeededProgram {
  const char* name;
  const char* package;
  const char* cost;
};
constexpr NeededProgram kNeededPrograms[] = {
    {"unzip", "unzip", "updates that come as zip archives cannot be installed"},
    {"7zz", "7zip", "updates that come as disk images cannot be installed"},
    {"pkexec", "pkexec", "applications that only an administrator may change cannot be updated"},
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

std::string utcText(double seconds) {
  const auto time = static_cast<time_t>(seconds);
  std::tm parts{};
  char text[40];
  if (!gmtime_r(&time, &parts)) return {};
  return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts));
}

// The JSON object of `status`; absent if the agent does not reply.
std::optional<Json> gatheredStatus(CommandContext& context) {
  Json status = Json::object();
  for (const char* method : {methods::kHostVersion, methods::kHostStatus}) {
    const auto part = context.agent.call(method);
    if (!part) return std::nullopt;
    if (part->is_object()) status.update(*part);
  }
  const auto records = context.agent.records();
  if (!records) return std::nullopt;
  status["socket"] = context.agent.socketPath();
  status["items"] = records->size();
  status["outdated"] = std::count_if(records->begin(), records->end(), [&](const Json& record) {
    return isOutdated(record, context.versions);
  });
  for (const char* method :
       {methods::kUpdateIsInProgress, methods::kLastFireDate, kSettings[0].key, kSettings[1].key,
        methods::kTotalUpdatesCount, methods::kInstallerQueueCount}) {
    auto value = context.agent.call(method);
    if (!value) return std::nullopt;
    status[method] = std::move(*value);
  }
  const auto last = secondsOfDate(status[methods::kLastFireDate]);
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
  if (status[methods::kUpdateIsInProgress] == true) return "after the running pass";
  const auto last = secondsOfDate(status[methods::kLastFireDate]);
  return last && *last + kDay > static_cast<double>(std::time(nullptr))
             ? localTimeText(*last + kDay)
             : "due now";
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
  line("Pass", status[methods::kUpdateIsInProgress] == true ? "running" : "none running");
  const auto last = secondsOfDate(status[methods::kLastFireDate]);
  line("Last check", last ? localTimeText(*last) : "none");
  const auto answered = secondsOfDate(status[status::kLastAnswered]);
  line("Last answer", answered ? localTimeText(*answered) : "none since the agent started");
  line("Next check", nextCheckText(status));
  line("Install queue", queueText(status[methods::kInstallerQueueCount]));
  line("Updates done", status[methods::kTotalUpdatesCount].dump());
  if (const auto unsaved = secondsOfDate(status[status::kUnsavedSince])) {
    line("Warning", "settings could not be saved since " + localTimeText(*unsaved));
  }
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

std::optional<double> secondsOfDate(const Json& date) {
  if (!date.is_string()) return std::nullopt;
  std::tm parts{};
  const auto text = date.get<std::string>();
  const char* const rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
  if (!rest) return std::nullopt;
  const double fraction = *rest == '.' ? std::strtod(rest, nullptr) : 0;
  return static_cast<double>(timegm(&parts)) + fraction;
}

std::string localTimeText(double secondsSince1970) {
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
    complain("No setting \"" + cleaned(*key) + "\". The settings are " + kSettings[0].key +
             " and " + kSettings[1].key + ".");
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
