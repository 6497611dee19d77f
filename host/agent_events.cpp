#include "host/agent_events.h"

#include "base/text.h"
#include "host/diagnostics.h"
#include "host/event_log.h"
#include "host/json_values.h"
#include "protocol/names.h"

namespace revwarden {
namespace {

const char* nameOf(JobOutcome::Kind kind) {
  switch (kind) {
    case JobOutcome::Kind::updated:
      return outcome::kUpdated;
    case JobOutcome::Kind::packageRun:
      return outcome::kPackageRun;
    case JobOutcome::Kind::handedOver:
      return outcome::kHandedOver;
    case JobOutcome::Kind::failed:
      return outcome::kFailed;
    case JobOutcome::Kind::cancelled:
      return outcome::kCancelled;
    case JobOutcome::Kind::dropped:
      return outcome::kDropped;
    case JobOutcome::Kind::refused:
      break;
  }
  return outcome::kRefused;
}

const char* nameOf(CheckOutcome::Kind kind) {
  switch (kind) {
    case CheckOutcome::Kind::answered:
      return outcome::kAnswered;
    case CheckOutcome::Kind::unreachable:
      return outcome::kUnreachable;
    case CheckOutcome::Kind::invalid:
      return outcome::kInvalid;
    case CheckOutcome::Kind::notNeeded:
      break;
  }
  return outcome::kNotNeeded;
}

constexpr size_t kMostBytes = 1 << 20;

// The first `kMostBytes` of a text, without a part of a character, and how much is missing.
std::string shortened(std::string_view text) {
  if (text.size() <= kMostBytes) return std::string(text);
  size_t kept = kMostBytes;
  const auto continuesCharacter = [&text](size_t at) { return (text[at] & 0xC0) == 0x80; };
  while (kept > kMostBytes - 3 && continuesCharacter(kept)) --kept;
  return std::string(text.substr(0, kept)) + " [" + std::to_string(text.size() - kept) +
         " bytes left out]";
}

}  // namespace

void DelegateEvents::itemsDidChangeInAgent(KQRWAgent&) {
  events_.append(events::kItemsDidChange, "[]");
}

void DelegateEvents::agentDidStartValidateItem(KQRWAgent&) {
  events_.append(events::kDidStartValidateItem, "[]");
}

void DelegateEvents::agentDidFinishValidateItem(KQRWAgent&) {
  events_.append(events::kDidFinishValidateItem, "[]");
}

void DelegateEvents::agentDidFinishUpdatingApplicationList(KQRWAgent&) {
  events_.append(events::kDidFinishUpdatingList, "[]");
}

void DelegateEvents::agent_didChangeStatusForItems(KQRWAgent&,
                                                   const std::vector<Dictionary>& items) {
  events_.append(events::kDidChangeStatus, '[' + jsonList(items) + ']');
}

void DelegateEvents::didStartQueueInAgent(KQRWAgent&) {
  events_.append(events::kDidStartQueue, "[]");
}

void DelegateEvents::didStopQueueInAgent(KQRWAgent&) {
  events_.append(events::kDidStopQueue, "[]");
}

void DelegateEvents::agent_didStartUpdateItem(KQRWAgent&, const Dictionary& item) {
  events_.append(events::kDidStartUpdate, '[' + jsonText(item) + ']');
}

void DelegateEvents::agent_didStopUpdateItem(KQRWAgent&, const Dictionary& item) {
  events_.append(events::kDidStopUpdate, '[' + jsonText(item) + ']');
}

void DelegateEvents::agent_didChangeUpdatedStatusForItem(KQRWAgent&, const Dictionary& item) {
  events_.append(events::kDidChangeUpdate, '[' + jsonText(item) + ']');
}

void DelegateEvents::openRevwarden() {
  events_.append(events::kOpenRevwarden, "[]");
}

void OutcomeEvents::jobEnded(const JobOutcome& job) {
  events_.append(events::kJobEnded,
                 jsonList({jsonObject({{outcome::kId, jsonText(job.id)},
                                       {outcome::kName, jsonText(job.name)},
                                       {outcome::kPath, jsonText(job.path)},
                                       {outcome::kFrom, jsonTextOrNull(job.from)},
                                       {outcome::kTo, jsonTextOrNull(job.to)},
                                       {outcome::kOutcome, jsonText(nameOf(job.kind))},
                                       {outcome::kCode, jsonTextOrNull(job.code)},
                                       {outcome::kReason, jsonTextOrNull(job.reason)},
                                       {outcome::kTrashed, jsonTextOrNull(job.trashed)},
                                       {outcome::kStarted, jsonTextOrNull(job.started)},
                                       {outcome::kEnded, jsonText(job.ended)}})}));
}

void OutcomeEvents::checkEnded(const CheckOutcome& check) {
  if (check.kind != CheckOutcome::Kind::notNeeded) lastCheck_ = check.ended;
  if (check.kind == CheckOutcome::Kind::answered) lastAnswered_ = check.ended;
  events_.append(events::kCheckEnded,
                 jsonList({jsonObject({{outcome::kStarted, jsonText(check.started)},
                                       {outcome::kEnded, jsonText(check.ended)},
                                       {outcome::kAsked, jsonText(check.asked)},
                                       {outcome::kAnswered, jsonText(check.answered)},
                                       {outcome::kOutcome, jsonText(nameOf(check.kind))},
                                       {outcome::kReason, jsonTextOrNull(check.reason)},
                                       {outcome::kStatus, jsonTextOrNull(check.status)},
                                       {outcome::kByUser, jsonText(check.byUser)}})}));
}

void LogEvents::NSLog(std::string_view format, const Arguments& arguments) {
  write("NSLog", format, arguments);
}

void LogEvents::KQLog(std::string_view format, const Arguments& arguments) {
  write("KQLog", format, arguments);
}

void LogEvents::write(const char* channel, std::string_view format, const Arguments& arguments) {
  const std::string line = shortened(formatted(format, arguments));
  writeErrorLine(std::string(channel) + ": " + line);
  std::vector<std::string> texts;
  for (const auto& argument : arguments) {
    texts.push_back(jsonText(argument ? shortened(*argument) : "(null)"));
  }
  events_.append(events::kLog,
                 jsonList({jsonText(channel), jsonText(line), jsonText(format), jsonList(texts)}));
}

}  // namespace revwarden
