#pragma once

#include <string>
#include <vector>

#include "cli/connection.h"

namespace revwarden {

/// The record of an application, by its name; with a download on offer, if a version is.
inline Json record(const std::string& name, const std::string& installed,
                   const std::string& offered = "", const std::string& flag = "isInQueue",
                   bool isSet = false) {
  Json item = {{"id", "id-" + name},
               {"applicationName", name},
               {"applicationPath", "/Applications/" + name + ".app"},
               {"bundleId", "com.example." + name},
               {"currentVersion", installed},
               {flag, isSet}};
  if (offered.empty()) return item;
  item["availableVersionInfo"] = {{"version", offered},
                                  {"download_link", " http://d/" + name + "\n"}};
  return item;
}
inline Json outdated(const std::string& name, bool queued = false) {
  return record(name, "1", "2", "isInQueue", queued);
}
inline Json muted(const std::string& name) {
  return record(name, "1", "2", "isInBlackList", true);
}
inline Json updated(const std::string& name) {
  return record(name, "2", "2");
}

/// The events that the agent sends about a job.
inline AgentEvent jobStarts(const std::string& name) {
  return {"agent:didStartUpdateItem:", Json::array({outdated(name, true)})};
}
inline AgentEvent jobGoesOn(const std::string& name, int action, int received = 0, int total = 0) {
  Json record = outdated(name, true);
  record.update({{"currentAction", action}, {"receivedBytes", received}, {"totalBytes", total}});
  return {"agent:didChangeUpdatedStatusForItem:", Json::array({record})};
}
inline AgentEvent jobStops(const std::string& name) {
  return {"agent:didStopUpdateItem:", Json::array({outdated(name)})};
}
inline AgentEvent statusChanges(const std::vector<std::string>& names, bool queued) {
  Json records = Json::array();
  for (const std::string& name : names) records.push_back(outdated(name, queued));
  return {"agent:didChangeStatusForItems:", Json::array({records})};
}
inline AgentEvent logged(const std::string& format, const std::vector<std::string>& arguments,
                         const std::string& channel = "KQLog") {
  return {"log", {channel, format, format, arguments}};
}
inline AgentEvent jobSucceeded(const std::string& name) {
  return logged("%@ was updated from %@ to %@ version successfully.", {name, "1", "(null)"});
}
inline AgentEvent jobFailed(const std::string& name) {
  return logged("Update of %@ from %@ to %@ version was failed.", {name, "1", "(null)"});
}
inline AgentEvent queueIsInterrupted() {
  return logged("!!!!! QUEUE INTERRUPTED !!!!!!", {}, "NSLog");
}
inline AgentEvent queueStops() {
  return {"didStopQueueInAgent:", Json::array()};
}
inline AgentEvent warning(const std::string& text) {
  return {"showNotification:",
          Json::array({Json{{"text", text}, {"icon", "DraggingViewWarningIcon"}}})};
}

}  // namespace revwarden
