#include "cli/records.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>
#include <utility>

#include "base/text.h"
#include "catalogue/record_keys.h"
#include "catalogue/version_info_keys.h"
#include "cli/text_output.h"

namespace revwarden {
namespace {

constexpr size_t kMostNearOnes = 5;

std::u32string foldedCase(std::string_view text) {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  std::u32string folded = decodedUtf8(text);
  for (char32_t& c : folded) {
    const auto wide = static_cast<wint_t>(c);
    c = static_cast<char32_t>(locale ? towlower_l(wide, locale) : towlower(wide));
  }
  return folded;
}

// The path as the agent knows it: absolute, with links resolved. Unchanged if it does not exist.
std::string resolvedPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  std::string resolved = real ? real.get() : path;
  while (resolved.size() > 1 && resolved.back() == '/') resolved.pop_back();
  return resolved;
}

std::string withoutAppExtension(const std::string& name) {
  const bool isBundle = name.size() > 4 && asciiUpperCase(pathExtension(name)) == "APP";
  return isBundle ? name.substr(0, name.size() - 4) : name;
}

std::vector<Json> recordsThat(const std::vector<Json>& records,
                              const std::function<bool(const Json&)>& match) {
  std::vector<Json> matches;
  std::copy_if(records.begin(), records.end(), std::back_inserter(matches), match);
  return matches;
}

std::vector<Json> nearOnesOf(const std::vector<Json>& records, const std::string& name) {
  const std::u32string wanted = foldedCase(name);
  const int limit = std::max(2, static_cast<int>(wanted.size() / 3));
  std::vector<std::pair<int, const Json*>> near;
  for (const Json& record : records) {
    int distance = limit + 1;
    for (const std::string& own : {displayName(record), recordText(record, kKQRWBundleIdKey)}) {
      if (own.empty()) continue;
      const bool contains = wanted.size() > 1 && foldedCase(own).find(wanted) != std::string::npos;
      distance = std::min(distance, contains ? 1 : editDistance(own, name, limit));
    }
    if (distance <= limit) near.emplace_back(distance, &record);
  }
  std::stable_sort(near.begin(), near.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<Json> nearOnes;
  for (const auto& [distance, record] : near) {
    if (nearOnes.size() < kMostNearOnes) nearOnes.push_back(*record);
  }
  return nearOnes;
}

}  // namespace

std::string recordText(const Json& record, const char* key) {
  const auto found = record.find(key);
  return found != record.end() && found->is_string() ? found->get<std::string>() : std::string();
}

bool recordFlag(const Json& record, const char* key) {
  const auto found = record.find(key);
  if (found == record.end()) return false;
  return found->is_boolean() ? found->get<bool>() : found->is_number() && *found != 0;
}

int64_t recordNumber(const Json& record, const char* key) {
  const auto found = record.find(key);
  return found != record.end() && found->is_number_integer() ? found->get<int64_t>() : 0;
}

SimpleAction actionOf(const Json& record) {
  return static_cast<SimpleAction>(recordNumber(record, kKQRWInstallerCurrentActionKey));
}

Json idsOf(const std::vector<Json>& records) {
  Json ids = Json::array();
  for (const Json& record : records) ids.push_back(recordText(record, kKQRWIDKey));
  return ids;
}

std::string displayName(const Json& record) {
  std::string name = cleaned(recordText(record, kKQRWApplicationNameKey));
  if (name.find_first_not_of(' ') != std::string::npos) return name;
  const std::string path = recordText(record, kKQRWApplicationPathKey);
  name = cleaned(withoutAppExtension(std::string(lastPathComponent(path))));
  return name.empty() ? cleaned(recordText(record, kKQRWIDKey)) : name;
}

std::string offeredVersion(const Json& record) {
  const auto offer = record.find(kKQRWAvailableVersionInfoKey);
  return offer != record.end() && offer->is_object() ? recordText(*offer, kKQRWIVersionKey)
                                                     : std::string();
}

bool hasNewerVersion(const Json& record, const Versions& versions) {
  const Value installedText(recordText(record, kKQRWCurrentVersionKey));
  const Value offeredText(offeredVersion(record));
  const auto installed = versions.versionWithValue(&installedText);
  const auto offered = versions.versionWithValue(&offeredText);
  return installed && offered && installed->compare(*offered) < 0;
}

bool isOutdated(const Json& record, const Versions& versions) {
  return !recordFlag(record, kKQRWIsInBlackList) && hasNewerVersion(record, versions);
}

std::optional<int> downloadedPercent(int64_t received, int64_t total) {
  if (total <= 0 || received < 0 || received > total) return std::nullopt;
  return static_cast<int>(100.0 * static_cast<double>(received) / static_cast<double>(total));
}

std::string jobText(const Json& record) {
  switch (actionOf(record)) {
    case SimpleAction::starting:
      return "starting";
    case SimpleAction::downloading: {
      const auto percent = downloadedPercent(recordNumber(record, kKQRWInstallerReceivedBytesKey),
                                             recordNumber(record, kKQRWInstallerTotalBytesKey));
      return percent ? "downloading " + std::to_string(*percent) + "%" : "downloading";
    }
    case SimpleAction::installing:
      return "installing";
    default:
      return "in queue";
  }
}

std::string stateText(const Json& record, const Versions& versions) {
  const SimpleAction action = actionOf(record);
  if (recordFlag(record, kKQRWInstallerIsInQueueKey)) return jobText(record);
  if (action == SimpleAction::failed) return "update failed";
  if (!record.contains(kKQRWAvailableVersionInfoKey)) {
    return record.contains(kKQRWLastFullCheckDate) ? "no offer" : "not checked";
  }
  if (!hasNewerVersion(record, versions)) return "up to date";
  return action == SimpleAction::done ? "update done" : "outdated";
}

void sortByName(std::vector<Json>& records) {
  using Keyed = std::pair<std::pair<std::u32string, std::string>, Json>;
  std::vector<Keyed> keyed;
  for (Json& record : records) {
    auto key = std::make_pair(foldedCase(displayName(record)),
                              recordText(record, kKQRWApplicationPathKey));
    keyed.emplace_back(std::move(key), std::move(record));
  }
  std::stable_sort(keyed.begin(), keyed.end(),
                   [](const Keyed& a, const Keyed& b) { return a.first < b.first; });
  for (size_t i = 0; i < keyed.size(); ++i) records[i] = std::move(keyed[i].second);
}

NameMatch findByName(const std::vector<Json>& records, const std::string& name) {
  const std::string path = resolvedPath(name);
  const std::string bare = withoutAppExtension(name);
  const std::u32string folded = foldedCase(name);
  const std::u32string foldedBare = foldedCase(bare);
  // From the strictest reading of the name to the loosest; the first with a match is used.
  const std::function<bool(const Json&)> readings[] = {
      [&](const Json& r) { return recordText(r, kKQRWIDKey) == name; },
      [&](const Json& r) {
        const std::string own = recordText(r, kKQRWApplicationPathKey);
        return !own.empty() && (own == path || own == name);
      },
      [&](const Json& r) {
        const std::string own = displayName(r);
        return own == name || own == bare || recordText(r, kKQRWBundleIdKey) == name;
      },
      [&](const Json& r) {
        const std::u32string own = foldedCase(displayName(r));
        return own == folded || own == foldedBare ||
               foldedCase(recordText(r, kKQRWBundleIdKey)) == folded;
      },
  };
  if (name.empty()) return {};
  for (const auto& reading : readings) {
    if (auto matches = recordsThat(records, reading); !matches.empty()) {
      return {std::move(matches), {}};
    }
  }
  return {{}, nearOnesOf(records, bare)};
}

int editDistance(std::string_view a, std::string_view b, int limit) {
  const std::u32string x = foldedCase(a);
  const std::u32string y = foldedCase(b);
  const auto apart = static_cast<int>(x.size()) - static_cast<int>(y.size());
  if (std::abs(apart) > limit) return limit + 1;
  std::vector<int> row(y.size() + 1);
  for (size_t j = 0; j < row.size(); ++j) row[j] = static_cast<int>(j);
  for (size_t i = 0; i < x.size(); ++i) {
    int diagonal = std::exchange(row[0], static_cast<int>(i) + 1);
    for (size_t j = 0; j < y.size(); ++j) {
      const int changed = diagonal + (x[i] == y[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return std::min(row.back(), limit + 1);
}

}  // namespace revwarden
