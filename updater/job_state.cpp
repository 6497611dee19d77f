#include "updater/job_state.h"

#include <utility>

#include "catalogue/record_keys.h"
#include "catalogue/version_info_keys.h"
#include "updater/download_location.h"

namespace revwarden {
namespace {

std::optional<std::string> textOfOffer(const Dictionary& record, std::string_view key) {
  return record.dictionaryFor(kKQRWAvailableVersionInfoKey).value_or(Dictionary()).textFor(key);
}

std::optional<std::string> urlOf(const std::optional<std::string>& link) {
  return link ? urlFromDownloadLink(*link) : std::nullopt;
}

}  // namespace

JobItem::JobItem(const Dictionary& record)
    : targetDownloadUrl(urlOf(textOfOffer(record, kKQRWIDownloadLinkKey))),
      applicationName(record.textFor(kKQRWApplicationNameKey)),
      applicationPath(record.textFor(kKQRWApplicationPathKey)),
      applicationBundleId(record.textFor(kKQRWBundleIdKey)),
      originalAppItemID(record.textFor(kKQRWIDKey)),
      updateMethod(textOfOffer(record, kKQRWIUpdateMethodKey).value_or(kKQRWUpdateMethodAuto)) {}

void JobState::explain(std::string code, std::string message) {
  result.update([&](JobResult& known) {
    const bool isOpen = known.done == JobResult::Done::nothing && known.note.code.empty();
    if (isOpen) known.note = {std::move(code), std::move(message)};
  });
}

void JobState::conclude(JobResult::Done done, Error note) {
  result.update([&](JobResult& known) {
    known.done = done;
    known.note = std::move(note);
  });
}

}  // namespace revwarden
