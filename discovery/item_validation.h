#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/value.h"
#include "platform/version.h"

namespace revwarden {

class PassGuard;
class ItemCatalogue;
class PathInspector;
struct Platform;

/// Brings the record of an application in line with its bundle on disk, and runs passes that do so
/// for a list of records.
class ItemValidation {
 public:
  class Mediator {
   public:
    /// Sends `itemsDidChangeInAgent` to the delegate. Main thread.
    virtual void notifyDelegateAboutItemsDidChange() = 0;

   protected:
    ~Mediator() = default;
  };

  ItemValidation(const Platform& platform, ItemCatalogue& catalogue, PassGuard& pass,
                 Mediator& mediator)
      : platform_(platform), catalogue_(catalogue), pass_(pass), mediator_(mediator) {}

  /// Reads the bundle at a full path. Adds a record for a new application, updates the record if
  /// the version changed, and removes the record if the application is missing, cannot be read or
  /// has no version. Returns true if the catalogue changed. Thread of a pass.
  bool updateItemInfoForPath(PathInspector& inspector, const std::string& path);

  /// Starts a pass over the records with these ids. Does nothing while another pass is running.
  /// Main thread.
  void startUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids);

 private:
  /// The values of a bundle that its record has.
  struct Installed {
    Versions::VersionRef version;
    std::string name;
    std::string bundleId;
  };

  std::optional<Installed> readInstalled(PathInspector& inspector, const std::string& path) const;
  bool addRecord(const std::optional<Dictionary>& known, const std::string& path,
                 const Installed& installed);
  bool updateRecord(const Dictionary& known, const Installed& installed);
  void performUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids);

  const Platform& platform_;
  ItemCatalogue& catalogue_;
  PassGuard& pass_;
  Mediator& mediator_;
};

}  // namespace revwarden
