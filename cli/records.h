#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/job_action.h"
#include "platform/version.h"

// Reads item records as the agent sends them. Records contain untrusted data from storage and from
// the update service: a key that is missing or has an unexpected type reads as empty.
namespace revwarden {

using Json = nlohmann::json;

/// The current action of the record's update job. The record keeps the last one.
SimpleAction actionOf(const Json& record);

/// The text for `key`, not cleaned; "" if there is none.
std::string recordText(const Json& record, const char* key);

/// Whether the flag for `key` is set.
bool recordFlag(const Json& record, const char* key);

/// The integer for `key`; 0 if there is none.
int64_t recordNumber(const Json& record, const char* key);

/// The ids of the records, as parameter of a request.
Json idsOf(const std::vector<Json>& records);

/// The application's name, cleaned: the recorded one, else its bundle's file name, else its id.
std::string displayName(const Json& record);

/// The version that the update service offers, even if it is not newer; "" if there is none.
std::string offeredVersion(const Json& record);

/// Whether a version newer than the installed one is on offer.
bool hasNewerVersion(const Json& record, const Versions& versions);

/// Whether a newer version is on offer and the application is not on the black list.
bool isOutdated(const Json& record, const Versions& versions);

/// The downloaded part in percent, 0 to 100; absent if the size is not known.
std::optional<int> downloadedPercent(int64_t received, int64_t total);

/// The state of a queued record's job: "in queue", "downloading 40%", "installing".
std::string jobText(const Json& record);

/// One or two words: the job's state if the record is in the queue, else "up to date", "outdated",
/// "not checked", ...
std::string stateText(const Json& record, const Versions& versions);

/// Sorts by name without regard to case, then by path.
void sortByName(std::vector<Json>& records);

/// The records that a name given by the user means.
struct NameMatch {
  /// None if the name is unknown, several if it is ambiguous.
  std::vector<Json> records;
  /// For an unknown name: records with a similar name or identifier, the most similar first.
  std::vector<Json> nearOnes;
};

/// Looks for `name` as an id, a path (links resolved, relative to the current folder), a name or a
/// bundle identifier. Prefers matches in the same letter case.
NameMatch findByName(const std::vector<Json>& records, const std::string& name);

/// The number of single-character edits between two texts, ignoring letter case; at most
/// `limit` + 1.
int editDistance(std::string_view a, std::string_view b, int limit);

}  // namespace revwarden
