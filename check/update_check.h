#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/value.h"
#include "base/xml_element.h"
#include "catalogue/record_set.h"
#include "platform/outcomes.h"
#include "platform/url_connection.h"

namespace revwarden {

class AgentSettings;
class PassGuard;
class ItemCatalogue;
struct Platform;

/// One whole update check: asks the service about the applications that are due, and writes its
/// answers into their records.
class UpdateCheck {
 public:
  class Mediator {
   public:
    virtual void notifyNewUpdates() = 0;
    virtual void notifyDelegateAboutItemsDidChange() = 0;

   protected:
    ~Mediator() = default;
  };

  UpdateCheck(const Platform& platform, ItemCatalogue& catalogue, AgentSettings& settings,
              PassGuard& pass, Mediator& mediator)
      : platform_(platform),
        catalogue_(catalogue),
        settings_(settings),
        pass_(pass),
        mediator_(mediator) {}

  /// Whether the user asked for the check, and so is notified when the response is malformed.
  /// Cleared at the end of every check. Any thread.
  void setScanStartedByUser(bool byUser) { scanStartedByUser_ = byUser; }
  /// Clears the flag and returns what it was. Any thread.
  bool takeScanStartedByUser() { return scanStartedByUser_.exchange(false); }

  /// Runs the check on the calling thread, a pass's, and returns its outcome without the times.
  /// Whatever the outcome, the next check is due a day from now.
  CheckOutcome performCheckForAppsUpdates();

 private:
  /// The records asked about, and which of them must be answered.
  struct Question {
    XmlElement root;
    RecordSet sent;
    std::unordered_set<std::string> mandatoryNames;
  };

  Question chooseItems() const;
  URLExchange send(XmlElement root) const;
  std::vector<Dictionary> readAnswers(const std::string& body, CheckOutcome& outcome);
  /// Returns the number of records that got an answer.
  int64_t merge(const Question& question, const std::vector<Dictionary>& answers);
  void showErrorNotice();

  const Platform& platform_;
  ItemCatalogue& catalogue_;
  AgentSettings& settings_;
  PassGuard& pass_;
  Mediator& mediator_;
  std::atomic<bool> scanStartedByUser_ = false;
};

}  // namespace revwarden
