#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/session.h"

// The commands of the program. Each prints its result to standard output and errors to standard
// error, and returns the exit status.
namespace revwarden {

struct ListOptions {
  bool outdated = false;  // only applications with a newer version on offer
  bool all = false;       // with `outdated`: also ignored ones
};
int runList(CommandContext& context, const ListOptions& options);

int runShow(CommandContext& context, const std::string& name);

/// Adds or removes the stars of the applications.
int runStar(CommandContext& context, const std::vector<std::string>& names, bool starred);

/// Adds the applications to the black list, or removes them.
int runIgnore(CommandContext& context, const std::vector<std::string>& names, bool ignored);

/// Runs a full rescan and prints which updates are on offer and which of them are new.
/// `kFailed` if the update service gave no answer.
int runCheck(CommandContext& context);

/// The applications of `update` and `cancel`: the named ones, or all.
struct JobSelection {
  std::vector<std::string> names;
  bool all = false;
};

/// Requests updates, shows their progress and prints the outcome of each: of the named
/// applications, even ignored ones, or of all outdated ones. `kFailed` unless each was updated or
/// handed over to the user. After an interrupt from the terminal, the agent continues the jobs.
int runUpdate(CommandContext& context, const JobSelection& selection);

/// Removes jobs from the install queue. `kFailed` unless each was cancelled.
int runCancel(CommandContext& context, const JobSelection& selection);

/// Prints events until the agent ends.
int runWatch(CommandContext& context);

int runStatus(CommandContext& context);

/// Prints all settings without a key, and one without a value; else sets it.
int runSettings(CommandContext& context, const std::optional<std::string>& key,
                const std::optional<std::string>& value);

/// A notice's id and the button: 1, 2, or 0 to dismiss.
struct NoticeAnswer {
  std::string id;
  int button = 0;
};
/// Without an answer, prints the open notices and, on a terminal, asks for answers.
int runNotices(CommandContext& context, const std::optional<NoticeAnswer>& answer);

/// The table of the given records, as `list` prints it.
std::string recordTable(const CommandContext& context, std::vector<Json> records);

/// An event in words; a text of several lines stays several lines.
std::string eventText(const AgentEvent& event);

/// The same as a line of JSON, with its line break.
std::string eventJson(const AgentEvent& event);

/// A date as the agent sends it, in seconds since 1970; absent if it is no date.
std::optional<double> secondsOfDate(const Json& date);

/// "2026-11-22 21:05:03" in this machine's time zone.
std::string localTimeText(double secondsSince1970);

}  // namespace revwarden
