#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/value.h"

namespace revwarden {

class AgentSettings;
class ItemCatalogue;
class NotificationTarget;
struct Platform;

/// Notifies the user once of each new version, and starts the update of the host product if there
/// is one. Main thread.
class NewUpdatesNotice {
 public:
  class Mediator {
   public:
    /// Queues the update of the host product.
    virtual void startUpdatePellmark() = 0;
    /// Returns true if the install queue has administrator rights.
    virtual bool hasRootTask() = 0;
    /// Returns the object that performs "openRevwarden".
    virtual std::shared_ptr<NotificationTarget> notificationTarget() = 0;

   protected:
    ~Mediator() = default;
  };

  NewUpdatesNotice(const Platform& platform, ItemCatalogue& catalogue, AgentSettings& settings,
                   Mediator& mediator)
      : platform_(platform), catalogue_(catalogue), settings_(settings), mediator_(mediator) {}

  /// Marks all new versions as announced, starts the update of the host product if it has one, and
  /// shows a notice with the other applications unless notices are switched off.
  void notifyNewUpdates();

 private:
  /// The new versions in the catalogue.
  struct Found {
    bool hostProduct = false;
    std::vector<std::string> names;  // of the other applications, except black-listed ones
  };

  Found markNewUpdates(const std::optional<std::string>& hostPath);
  std::optional<std::string> newVersion(const Dictionary& record) const;
  void updateHostProduct(const std::string& hostPath);
  void showSummary(const std::vector<std::string>& names);

  const Platform& platform_;
  ItemCatalogue& catalogue_;
  AgentSettings& settings_;
  Mediator& mediator_;
};

}  // namespace revwarden
