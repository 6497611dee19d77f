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

/// The update check: asks the service about the applications that are due and merges its answers
/// into their records.
class UpdateCheck {
 public:
  class Mediator {
   public:
    /// Notifies the user of new versions. Main thread.
    virtual void notifyNewUpdates() = 0;
    /// Sends `itemsDidChangeInAgent` to the delegate. Main thread.
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

  /// Sets whether the user requested the next check and so gets a notice if the response is
  /// malformed. Each check clears it at its end. Any thread.
  void setScanStartedByUser(bool byUser) { scanStartedByUser_ = byUser; }
  /// Clears that flag and returns its previous value. Any thread.
  bool takeScanStartedByUser() { return scanStartedByUser_.exchange(false); }

  /// Runs one check and returns its outcome without the times. The next check is then due in a day,
  /// whatever the outcome. Thread of a list refresh.
  CheckOutcome performCheckForAppsUpdates();

 private:
  /// The request, the records in it, and the names of the mandatory ones.
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
