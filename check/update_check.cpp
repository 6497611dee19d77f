#include "check/update_check.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "catalogue/agent_settings.h"
#include "catalogue/item_catalogue.h"
#include "catalogue/pass_guard.h"
#include "catalogue/record_keys.h"
#include "catalogue/version_info_keys.h"
#include "check/update_protocol.h"
#include "platform/clock.h"
#include "platform/host_application.h"
#include "platform/localization.h"
#include "platform/log.h"
#include "platform/platform.h"
#include "platform/run_loop.h"
#include "platform/system_information.h"
#include "platform/url_connection.h"
#include "platform/xml_document.h"

namespace revwarden {
namespace {

constexpr double kSecondsBeforeAskingAgain = 172800;

// Returns true if the service had no answer less than two days ago, or at a date in the future.
bool wasAskedLately(const Dictionary& record, Date now) {
  if (record.contains(kKQRWAvailableVersionInfoKey)) return false;
  const std::optional<Date> asked = record.dateFor(kKQRWLastFullCheckDate);
  return asked && now.secondsSince1970 - asked->secondsSince1970 < kSecondsBeforeAskingAgain;
}

// Returns the body for the log; nothing if it is not ASCII.
std::optional<std::string> asciiText(std::string_view body) {
  const bool ascii = std::all_of(body.begin(), body.end(), [](char c) { return (c & 0x80) == 0; });
  return ascii ? std::optional(std::string(body)) : std::nullopt;
}

using AnswersByBundleId = std::unordered_map<std::string_view, const Dictionary*>;

// Uses the first answer for each identifier. An empty identifier means none and matches nothing.
AnswersByBundleId byBundleId(const std::vector<Dictionary>& answers) {
  AnswersByBundleId index;
  index.reserve(answers.size());
  for (const Dictionary& answer : answers) {
    const std::string* id = answer.stringFor(kKQRWIBundleIDKey);
    if (id && !id->empty()) index.emplace(*id, &answer);
  }
  return index;
}

const Dictionary* answerFor(const Dictionary& record, const AnswersByBundleId& answers) {
  const std::string* id = record.stringFor(kKQRWBundleIdKey);
  const auto found = id ? answers.find(*id) : answers.end();
  return found == answers.end() ? nullptr : found->second;
}

}  // namespace

CheckOutcome UpdateCheck::performCheckForAppsUpdates() {
  CheckOutcome outcome;
  Question question = chooseItems();
  outcome.asked = static_cast<int64_t>(question.root.children.size());
  URLExchange exchange = send(std::exchange(question.root, {}));
  outcome.status = exchange.status;
  // The body counts whatever the HTTP status is.
  if (exchange.body) {
    // The body is large: `exchange` frees it before the merge.
    const std::vector<Dictionary> answers = readAnswers(std::exchange(*exchange.body, {}), outcome);
    outcome.answered = merge(question, answers);
    // The notice is posted without waiting. The event is sent even if no record changed.
    platform_.mainLoop.post([this] { mediator_.notifyNewUpdates(); });
    pass_.onMainThread([this] { mediator_.notifyDelegateAboutItemsDidChange(); });
  } else {
    outcome.kind = CheckOutcome::Kind::unreachable;
    outcome.reason = exchange.body.error().message;
  }
  // Intentional: also after a failure. The next check is a day away in any case.
  settings_.setLastFireDate(platform_.clock.now());
  pass_.onMainThread([this] { settings_.savePrefs(); });
  // Intentional: also forgets a rescan that the user requested during this check.
  outcome.byUser = takeScanStartedByUser();
  return outcome;
}

UpdateCheck::Question UpdateCheck::chooseItems() const {
  Question question{appsUpdatesCheckRequestRootXMLElement(platform_), {}, {}};
  const LiveRecords snapshot = catalogue_.itemsSnapshot();
  const Date now = platform_.clock.now();
  question.root.children.reserve(snapshot.size());
  question.sent.reserve(snapshot.size());
  for (const LiveRecordRef& record : snapshot) {
    const Dictionary contents = record->contents();
    if (!contents.contains(kKQRWCurrentVersionKey) || wasAskedLately(contents, now)) continue;
    const bool mandatory = wasNeverChecked(contents);
    const std::string* name = contents.stringFor(kKQRWApplicationNameKey);
    if (mandatory && name) question.mandatoryNames.insert(*name);
    question.sent.add(record);
    question.root.children.push_back(requestItem(contents, mandatory));
  }
  return question;
}

URLExchange UpdateCheck::send(XmlElement root) const {
  URLRequest request{.url = platform_.productInformation.URLWithScheme_service_path(
                         "http", "updater", "/api/update"),
                     .method = "POST",
                     .body = platform_.xml.xmlData(root)};
  root = {};  // large, and not needed during the exchange
  return platform_.connection.sendSynchronousRequest(request);
}

std::vector<Dictionary> UpdateCheck::readAnswers(const std::string& body, CheckOutcome& outcome) {
  Result<XmlElement> document = platform_.xml.parse(body);
  outcome.kind = CheckOutcome::Kind::invalid;
  if (!document) {
    outcome.reason = "the response is not well-formed: " + document.error().message;
    platform_.log.NSLog("Invalid response: %@", {document.error().message});
    Log::Arguments text;
    text.push_back(asciiText(body));  // not in braces, which would copy a text of up to 256 MiB
    platform_.log.NSLog("Response: %@", text);
    if (scanStartedByUser_) showErrorNotice();
    // Intentional: a malformed response is merged like one without answers.
    return convertedArrayFromResponse(nullptr);
  }
  if (document->name == kResponseRoot) {
    outcome.kind = CheckOutcome::Kind::answered;
  } else {
    outcome.reason = "the root element of the response is not \"response\"";
  }
  return convertedArrayFromResponse(&*document);
}

int64_t UpdateCheck::merge(const Question& question, const std::vector<Dictionary>& answers) {
  int64_t answered = 0;
  const AnswersByBundleId index = byBundleId(answers);
  const Date now = platform_.clock.now();
  ItemCatalogue::Access records(catalogue_);
  for (auto position = records->begin(); position != records->end(); ++position) {
    // A record that was edited in place since the request is still in the set. One that was
    // replaced by other contents is not, and waits for the next check.
    if (!question.sent.contains(RecordList::record(position))) continue;
    const Dictionary contents = RecordList::contents(position);
    DictionaryBuilder record(contents);
    const std::string* name = contents.stringFor(kKQRWApplicationNameKey);
    // Intentional: an answered record keeps the date of its last check, so nearly every refresh
    // asks again. An unanswered one is mandatory if an application of the same name was.
    if (const Dictionary* answer = answerFor(contents, index)) {
      ++answered;
      record.set(kKQRWAvailableVersionInfoKey, *answer);
    } else if (name && question.mandatoryNames.contains(*name)) {
      record.remove(kKQRWAvailableVersionInfoKey);
      record.set(kKQRWLastFullCheckDate, now);
    }
    records->replace(position, record.build());
  }
  return answered;
}

void UpdateCheck::showErrorNotice() {
  HostApplication& host = platform_.host;
  HostNotification notice = host.notificationInstance();
  notice.text = platform_.localization.KQLocalizedString(
      "There was an error while communicating with the Revwarden server. Please try again later.");
  notice.icon = NotificationIcon{NotificationIcon::Kind::named, "DraggingViewNotificationIcon"};
  notice.liveTime = 10.0;
  notice.button1Text = platform_.localization.KQLocalizedString("OK");
  platform_.mainLoop.post([&host, notice] { host.showNotification(notice); });
}

}  // namespace revwarden
