#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/session.h"

// The commands of the program. Each prints its result to standard output and what went wrong to
// standard error, and returns the exit status.
namespace revwarden {

struct ListOptions {
  bool outdated = false;  // only what has a newer version on offer
  bool all = false;       // with `outdated`: also what the user ignores
};
int runList(CommandContext& context, const ListOptions& options);

int runShow(CommandContext& context, const std::string& name);

/// Stars the applications, or takes the stars away.
int runStar(CommandContext& context, const std::vector<std::string>& names, bool starred);

/// Puts the applications on the black list, or takes them off.
int runIgnore(CommandContext& context, const std::vector<std::string>& names, bool ignored);

/// A full rescan, waited for; tells which updates there are and which of them are new.
int runCheck(CommandContext& context);

/// What `update` and `cancel` are for: the named applications, or with `all` whatever there is.
struct JobSelection {
  std::vector<std::string> names;
  bool all = false;
};

/// Has updates installed and follows their jobs to the end: those named, ignored or not, or all
/// that are outdated. Interrupted from the terminal it leaves the jobs to the agent.
int runUpdate(CommandContext& context, const JobSelection& selection);

/// Takes jobs out of the install queue.
int runCancel(CommandContext& context, const JobSelection& selection);

/// Prints events until the agent ends.
int runWatch(CommandContext& context);

int runStatus(CommandContext& context);

/// Without a key all settings, without a value that one; else sets it.
int runSettings(CommandContext& context, const std::optional<std::string>& key,
                const std::optional<std::string>& value);

/// A notice's id and the button: 1, 2, or 0 to dismiss.
struct NoticeAnswer {
  std::string id;
  int button = 0;
};
/// Without an answer shows the open notices and, on a terminal, asks for answers.
int runNotices(CommandContext& context, const std::optional<NoticeAnswer>& answer);

/// The table of the given records, as `list` prints it.
std::string recordTable(const CommandContext& context, std::vector<Json> records);

/// An event in words for people; several lines for a text of several lines.
std::string eventText(const AgentEvent& event);

/// The same as a line of JSON, with its line break.
std::string eventJson(const AgentEvent& event);

/// A date as the agent sends it, in seconds since 1970; absent if it is no date.
std::optional<double> secondsOfDate(const Json& date);

/// "2026-11-22 21:05:03" in this machine's time zone.
std::string localTimeText(double secondsSince1970);

}  // namespace revwarden
