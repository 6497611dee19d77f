#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/job_action.h"
#include "platform/version.h"

// Item records as the agent sends them, and what a person wants to know about them. A key that is
// missing or of another type than expected reads as empty: records come from storage and from the
// update service.
namespace revwarden {

using Json = nlohmann::json;

/// What the update job of a record is at. It stays in the record when the job is over.
SimpleAction actionOf(const Json& record);

/// The text for `key` as it stands (clean it before it is printed); "" without one.
std::string recordText(const Json& record, const char* key);

/// Whether the flag for `key` is set.
bool recordFlag(const Json& record, const char* key);

/// The whole number for `key`, 0 without one.
int64_t recordNumber(const Json& record, const char* key);

/// The records' ids, as requests take them.
Json idsOf(const std::vector<Json>& records);

/// The application's name for people: the recorded one, else its bundle's file name, else its id.
/// Clean.
std::string displayName(const Json& record);

/// The version that the update service has on offer, whether newer or not; "" without one.
std::string offeredVersion(const Json& record);

/// Whether a version newer than the installed one is on offer.
bool hasNewerVersion(const Json& record, const Versions& versions);

/// Whether the user wants to hear of it: a newer version on offer, and not on the black list.
bool isOutdated(const Json& record, const Versions& versions);

/// How much of a download is there, 0 to 100; absent when its size is not known.
std::optional<int> downloadedPercent(int64_t received, int64_t total);

/// What the job of a record in the queue does: "in queue", "downloading 40%", "installing".
std::string jobText(const Json& record);

/// One or two words: the job's of a record in the queue, else "up to date", "outdated", "not
/// checked", ...
std::string stateText(const Json& record, const Versions& versions);

/// By name as people sort, namesakes by path.
void sortByName(std::vector<Json>& records);

/// What a name given by the user stands for.
struct NameMatch {
  /// The records meant: none when unknown, several when ambiguous.
  std::vector<Json> records;
  /// For an unknown name: the records with a name or identifier like it, the nearest first.
  std::vector<Json> nearOnes;
};

/// Looks for `name` as an id, a path (links resolved, relative to the current folder), a name or a
/// bundle identifier; letter case counts only where that decides between records.
NameMatch findByName(const std::vector<Json>& records, const std::string& name);

/// How many single characters have to change to make one text of the other, letter case aside; more
/// than `limit` reads as `limit` + 1.
int editDistance(std::string_view a, std::string_view b, int limit);

}  // namespace revwarden
