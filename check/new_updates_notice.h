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

/// Tells the user, once for each new version, which applications can be updated, and starts the
/// update of the host product when that has one. Main thread.
class NewUpdatesNotice {
 public:
  class Mediator {
   public:
    virtual void startUpdatePellmark() = 0;
    /// Whether administrator rights are at hand from a run of the install queue.
    virtual bool hasRootTask() = 0;
    /// Receives the buttons of the notices.
    virtual std::shared_ptr<NotificationTarget> notificationTarget() = 0;

   protected:
    ~Mediator() = default;
  };

  NewUpdatesNotice(const Platform& platform, ItemCatalogue& catalogue, AgentSettings& settings,
                   Mediator& mediator)
      : platform_(platform), catalogue_(catalogue), settings_(settings), mediator_(mediator) {}

  void notifyNewUpdates();

 private:
  /// What a look through the catalogue found and marked as told.
  struct Found {
    bool hostProduct = false;
    std::vector<std::string> names;  // of the applications to list
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
