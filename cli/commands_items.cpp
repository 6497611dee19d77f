#include <algorithm>

#include "catalogue/record_keys.h"
#include "catalogue/version_info_keys.h"
#include "cli/commands.h"
#include "cli/records.h"
#include "protocol/names.h"

// The commands on records: "list", "show", and those that star and ignore.
namespace revwarden {
namespace {

void printField(const std::string& label, const std::string& value) {
  const std::vector<std::string> lines = cleanedLines(value);
  std::string indent = label + ":";
  indent.resize(std::max<size_t>(indent.size() + 1, 20), ' ');
  for (const std::string& line : lines) {
    print(indent + line + "\n");
    indent.assign(indent.size(), ' ');
  }
}

void printIfAny(const std::string& label, const std::string& value) {
  if (!value.empty()) printField(label, value);
}

// The offer's fields that have a label. Unknown fields are shown with their keys.
struct OfferField {
  const char* key;
  const char* label;  // nullptr: not shown
};
constexpr OfferField kOfferFields[] = {
    {kKQRWIVersionKey, nullptr},
    {kKQRWIBundleIDKey, nullptr},
    {kKQRWINameKey, nullptr},
    {kKQRWIFileSizeByteKey, nullptr},
    {kKQRWIFileSizeByteNumberKey, nullptr},
    {kKQRWIDownloadLinkKey, "Download"},
    {kKQRWIFileSizeKey, "Size"},
    {kKQRWIUpdateMethodKey, "Update method"},
    {kKQRWIDateAddKey, "Offered since"},
    {kKQRWIOSKey, "Needs"},
    {kKQRWISupportedMacOSXKey, "Systems"},
    {kKQRWIPriceKey, "Price"},
    {kKQRWILicenseKey, "License"},
    {kKQRWILimitationsKey, "Limitations"},
    {kKQRWIShortDescrKey, "Summary"},
    {kKQRWIFullDescrKey, "Description"},
    {kKQRWINewInVersionKey, "What is new"},
};

void printOffer(const Json& offer) {
  for (const OfferField& field : kOfferFields) {
    if (field.label) printIfAny(field.label, recordText(offer, field.key));
  }
  for (const auto& [key, value] : offer.items()) {
    const bool known =
        std::any_of(std::begin(kOfferFields), std::end(kOfferFields),
                    [&key = key](const OfferField& field) { return key == field.key; });
    if (!known && value.is_string()) printIfAny(cleaned(key), value.get<std::string>());
  }
}

std::string dateText(const Json& record, const char* key) {
  const auto found = record.find(key);
  const auto seconds = found == record.end() ? std::nullopt : secondsOfDate(*found);
  return seconds ? localTimeText(*seconds) : std::string();
}

// Prints the changed records: with --json themselves, else a line each.
int printChanged(CommandContext& context, const std::vector<Json>& records,
                 const std::string& what) {
  Json changed = Json::array();
  int status = kOk;
  for (const Json& record : records) {
    auto now = context.agent.call(methods::kItemSnapshotWithID,
                                  Json::array({recordText(record, kKQRWIDKey)}));
    if (!now) return kFailed;
    if (now->is_object()) {
      if (!context.json) print(what + ": " + displayName(*now) + "\n");
      changed.push_back(std::move(*now));
    } else {
      complain(displayName(record) + " is no longer in the catalogue.");
      status = kFailed;
    }
  }
  if (context.json) print(jsonText(changed) + "\n");
  return status;
}

}  // namespace

std::string recordTable(const CommandContext& context, std::vector<Json> records) {
  sortByName(records);
  TextTable table({"NAME", "INSTALLED", "AVAILABLE", "STAR", "BLACK LIST", "STATE"});
  for (const Json& record : records) {
    const bool ignored = recordFlag(record, kKQRWIsInBlackList);
    std::optional<Terminal::Style> style;
    if (ignored) {
      style = Terminal::Style::dim;
    } else if (hasNewerVersion(record, context.versions)) {
      style = Terminal::Style::green;
    }
    table.addRow(
        {displayName(record), cleaned(recordText(record, kKQRWCurrentVersionKey)),
         cleaned(offeredVersion(record)), recordFlag(record, kKQRWIsFavouriteKey) ? "*" : "",
         ignored ? "ignored" : "", stateText(record, context.versions)},
        style);
  }
  return table.text(context.terminal);
}

int runList(CommandContext& context, const ListOptions& options) {
  auto records = context.agent.records();
  if (!records) return kFailed;
  const bool foundAny = !records->empty();
  if (options.outdated) {
    std::erase_if(*records, [&](const Json& record) {
      return options.all ? !hasNewerVersion(record, context.versions)
                         : !isOutdated(record, context.versions);
    });
  }
  if (context.json) {
    print(jsonText(Json(*records)) + "\n");
  } else if (!foundAny) {
    explainNoApplications(context.agent);
  } else if (records->empty()) {
    print("Nothing newer is on offer.\n");
  } else {
    print(recordTable(context, std::move(*records)));
  }
  return kOk;
}

int runShow(CommandContext& context, const std::string& name) {
  const auto records = context.agent.records();
  if (!records) return kFailed;
  const auto named = recordsNamed(*records, {name});
  if (!named) return kUsage;
  const Json& record = named->front();
  if (context.json) {
    print(jsonText(record) + "\n");
    return kOk;
  }
  printField("Name", displayName(record));
  printField("Path", recordText(record, kKQRWApplicationPathKey));
  printIfAny("Bundle identifier", recordText(record, kKQRWBundleIdKey));
  printField("Id", recordText(record, kKQRWIDKey));
  printField("Installed", recordText(record, kKQRWCurrentVersionKey));
  printIfAny("Available", offeredVersion(record));
  printField("State", stateText(record, context.versions));
  printField("Star", recordFlag(record, kKQRWIsFavouriteKey) ? "yes" : "no");
  printField("Black list", recordFlag(record, kKQRWIsInBlackList) ? "yes" : "no");
  printIfAny("Last notified", recordText(record, kKQRWNotifiedVersionKey));
  printIfAny("Without an answer", dateText(record, kKQRWLastFullCheckDate));
  const auto offer = record.find(kKQRWAvailableVersionInfoKey);
  if (offer != record.end() && offer->is_object()) printOffer(*offer);
  return kOk;
}

int runStar(CommandContext& context, const std::vector<std::string>& names, bool starred) {
  const auto records = context.agent.records();
  if (!records) return kFailed;
  const auto named = recordsNamed(*records, names);
  if (!named) return kUsage;
  for (const Json& record : *named) {
    const Json params = Json::array({starred, recordText(record, kKQRWIDKey)});
    if (!context.agent.call(methods::kSetStarred, params)) return kFailed;
  }
  return printChanged(context, *named, starred ? "Starred" : "Star removed");
}

int runIgnore(CommandContext& context, const std::vector<std::string>& names, bool ignored) {
  const auto records = context.agent.records();
  if (!records) return kFailed;
  const auto named = recordsNamed(*records, names);
  if (!named) return kUsage;
  const Json params = Json::array({idsOf(*named), ignored});
  if (!context.agent.call(methods::kMoveItemsToBlackList, params)) return kFailed;
  return printChanged(context, *named, ignored ? "Ignored" : "No longer ignored");
}

}  // namespace revwarden
