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

/// The two switches, the date of the last check, and the settings dictionary that holds them and
/// the catalogue in the user defaults.
///
/// Memory is the master copy: storage is loaded once and follows with each `savePrefs`. Only the
/// count of installed updates lives in storage alone. Any thread; `savePrefs` runs on the main
/// thread except for callers that change a record elsewhere.
class AgentSettings {
 public:
  AgentSettings(const Platform& platform, ItemCatalogue& catalogue, ExcludedPaths& excluded);

  /// The settings dictionary as stored.
  std::optional<Dictionary> userDefaults() const;
  /// Stores the settings dictionary; on disk when it returns.
  void setUserDefaults(const Dictionary& settings);

  /// Loads the catalogue, leaving out records at excluded paths, and the settings. Saves nothing.
  void loadPrefs();
  /// Stores the catalogue, without the passing marks of update jobs, and the settings.
  void savePrefs();

  bool showRevwardenNotifications() const { return showRevwardenNotifications_; }
  void setShowRevwardenNotifications(bool show);
  bool updatesApplicationsFromAllLocalVolumes() const {
    return updatesApplicationsFromAllLocalVolumes_;
  }
  void setUpdatesApplicationsFromAllLocalVolumes(bool all);

  std::optional<Date> lastFireDate() const { return lastFireDate_.get(); }
  /// Does not save.
  void setLastFireDate(std::optional<Date> date) { lastFireDate_.set(date); }

  int64_t totalUpdatesCount() const;
  /// Adds one to the count in storage.
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
