#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "base/guarded.h"
#include "base/value.h"

namespace revwarden {

class ExcludedPaths;
class ItemCatalogue;
struct Platform;

/// The agent's settings: two switches and the date of the last check. Loads and saves them,
/// together with the catalogue, as one dictionary in the user defaults.
///
/// Memory is the master copy: it is loaded once, and each `savePrefs` writes it to storage. Only
/// the count of installed updates exists in storage alone. Any thread; background passes call
/// `savePrefs` on the main thread.
class AgentSettings {
 public:
  AgentSettings(const Platform& platform, ItemCatalogue& catalogue, ExcludedPaths& excluded);

  /// Returns the stored settings dictionary; absent if there is none or it cannot be read.
  std::optional<Dictionary> userDefaults() const;
  /// Replaces the stored settings dictionary. It is on disk when this returns.
  void setUserDefaults(const Dictionary& settings);

  /// Loads the settings and the catalogue, except records at excluded paths. Saves nothing.
  void loadPrefs();
  /// Saves the settings and the catalogue, without the temporary values of update jobs.
  void savePrefs();

  /// The switches of the same name in agent/kqrw_agent.h. A setter saves if the value differs.
  bool showRevwardenNotifications() const { return showRevwardenNotifications_; }
  void setShowRevwardenNotifications(bool show);
  bool updatesApplicationsFromAllLocalVolumes() const {
    return updatesApplicationsFromAllLocalVolumes_;
  }
  void setUpdatesApplicationsFromAllLocalVolumes(bool all);

  /// Returns when the last check ended; absent if the next one is due now.
  std::optional<Date> lastFireDate() const { return lastFireDate_.get(); }
  /// Sets that date in memory. Does not save.
  void setLastFireDate(std::optional<Date> date) { lastFireDate_.set(date); }

  /// Returns how many updates have been installed in total.
  int64_t totalUpdatesCount() const;
  /// Adds one to that count in storage.
  void countInstalledUpdate();

 private:
  void loadCatalogue(const Dictionary& settings);

  const Platform& platform_;
  ItemCatalogue& catalogue_;
  ExcludedPaths& excluded_;
  std::atomic<bool> showRevwardenNotifications_ = false;
  std::atomic<bool> updatesApplicationsFromAllLocalVolumes_ = false;
  Guarded<std::optional<Date>> lastFireDate_;
};

}  // namespace revwarden
