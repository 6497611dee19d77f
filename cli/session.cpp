#include "cli/session.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "catalogue/record_keys.h"
#include "cli/records.h"
#include "protocol/names.h"
#include "protocol/socket_path.h"

namespace revwarden {
namespace {

std::string described(const Json& record) {
  return displayName(record) + " " + cleaned(recordText(record, kKQRWCurrentVersionKey)) + ", " +
         cleaned(recordText(record, kKQRWApplicationPathKey)) + ", id " +
         cleaned(recordText(record, kKQRWIDKey));
}

void complainOfMatches(const std::string& name, const NameMatch& match) {
  if (!match.records.empty()) {
    complain("\"" + cleaned(name) + "\" is ambiguous. Give a path or an id instead:");
  } else if (!match.nearOnes.empty()) {
    complain("No application \"" + cleaned(name) + "\". Did you mean:");
  } else {
    complain("No application \"" + cleaned(name) + "\". \"revwarden list\" shows all.");
  }
  for (const auto* list : {&match.records, &match.nearOnes}) {
    for (const Json& record : *list) std::fputs(("  " + described(record) + "\n").c_str(), stderr);
  }
}

}  // namespace

void print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void complain(std::string_view text) {
  std::fflush(stdout);
  std::fputs(("revwarden: " + std::string(text) + "\n").c_str(), stderr);
}

bool outputIsLost() {
  return std::fflush(stdout) != 0 || std::ferror(stdout) != 0;
}

std::unique_ptr<AgentSession> AgentSession::create(const std::string& socketPath) {
  std::unique_ptr<AgentSession> session(new AgentSession(socketPath));
  return session->reconnect() ? std::move(session) : nullptr;
}

bool AgentSession::reconnect() {
  auto connection = AgentConnection::create(socketPath_);
  if (connection) {
    connection_ = std::move(*connection);
    return true;
  }
  const std::string path = cleaned(socketPath_);
  const std::string option = socketPath_ == defaultSocketPath() ? "" : " --socket '" + path + "'";
  complain("No agent is running at " + path + " (" + connection.error().message +
           ").\nStart one with: revwarden-agent" + option + " &");
  return false;
}

std::optional<Json> AgentSession::call(const std::string& method, Json params,
                                       const AgentConnection::Patience& patience) {
  Result<Json> reply = connection_->call(method, std::move(params), patience);
  if (reply) return std::move(*reply);
  const auto& [code, message] = reply.error();
  if (code == connection_error::kUnknownMethod) {
    complain("The running agent does not know \"" + method + "\"; it may be of another version.");
  } else if (code == connection_error::kRefused) {
    complain("The agent refused \"" + method + "\": " + cleaned(message));
  } else if (code != connection_error::kGivenUp) {
    complain(message);
  }
  return std::nullopt;
}

std::optional<std::vector<Json>> AgentSession::records() {
  std::optional<Json> list = call(methods::kItemsSnapshot);
  if (!list) return std::nullopt;
  std::vector<Json> records;
  if (!list->is_array()) list->clear();
  for (Json& record : *list) {
    if (record.is_object()) records.push_back(std::move(record));
  }
  return records;
}

void CommandContext::say(const std::string& text) const {
  if (json) return complain(text);
  print(text + "\n");
}

std::optional<std::vector<Json>> recordsNamed(const std::vector<Json>& records,
                                              const std::vector<std::string>& names) {
  std::vector<Json> named;
  bool allFound = true;
  for (const std::string& name : names) {
    const NameMatch match = findByName(records, name);
    if (match.records.size() != 1) {
      complainOfMatches(name, match);
      allFound = false;
    } else if (std::find(named.begin(), named.end(), match.records[0]) == named.end()) {
      named.push_back(match.records[0]);
    }
  }
  if (!allFound) return std::nullopt;
  return named;
}

void explainNoApplications(AgentSession& agent) {
  const auto folders = agent.call(methods::kHostSearchFolders);
  if (!folders) return;
  std::string text = "No application was found in:";
  for (const Json& folder : folders->is_array() ? *folders : Json::array()) {
    if (folder.is_string()) text += "\n  " + cleaned(folder.get<std::string>());
  }
  complain(text +
           "\nTo search other folders, name them when you start the agent:\n"
           "  revwarden-agent --applications DIR [--applications DIR ...]");
}

}  // namespace revwarden
