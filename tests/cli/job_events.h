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
  if (!offered.empty()) item["availableVersionInfo"] = {{"version", offered}};
  return item;
}
inline Json outdated(const std::string& name, bool queued = false) {
  return record(name, "1", "2", "isInQueue", queued);
}
inline Json muted(const std::string& name) {
  return record(name, "1", "2", "isInBlackList", true);
}

/// Events that the agent and its host send about a job.
inline AgentEvent jobStarts(const std::string& name) {
  return {"agent:didStartUpdateItem:", {outdated(name, true)}};
}
inline AgentEvent jobContinues(const std::string& name, int action, int received = 0,
                               int total = 0) {
  Json record = outdated(name, true);
  record.update({{"currentAction", action}, {"receivedBytes", received}, {"totalBytes", total}});
  return {"agent:didChangeUpdatedStatusForItem:", {record}};
}
inline AgentEvent jobStops(const std::string& name) {
  return {"agent:didStopUpdateItem:", {outdated(name)}};
}
inline AgentEvent queueStops() {
  return {"didStopQueueInAgent:", Json::array()};
}
inline AgentEvent jobEnded(const std::string& name, const std::string& outcome,
                           const Json& reason = nullptr, const Json& from = "1",
                           const Json& to = "2") {
  return {"host.jobEnded",
          {{{"id", "id-" + name},
            {"name", name},
            {"from", from},
            {"to", to},
            {"outcome", outcome},
            {"reason", reason}}}};
}

}  // namespace revwarden
