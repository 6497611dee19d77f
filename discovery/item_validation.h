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

/// Brings the record of one application in line with its bundle on disk, and runs passes that do so
/// for a list of records.
class ItemValidation {
 public:
  class Mediator {
   public:
    virtual void notifyDelegateAboutItemsDidChange() = 0;

   protected:
    ~Mediator() = default;
  };

  ItemValidation(const Platform& platform, ItemCatalogue& catalogue, PassGuard& pass,
                 Mediator& mediator)
      : platform_(platform), catalogue_(catalogue), pass_(pass), mediator_(mediator) {}

  /// Reads the bundle at the path: adds a record for a new application, renews the record of one
  /// whose version changed, removes the record of one that is gone, cannot be read or has no
  /// version. Whether the catalogue changed. On the thread of a pass.
  bool updateItemInfoForPath(PathInspector& inspector, const std::string& path);

  /// Starts a pass over the records with these ids; dropped while another pass runs. Main thread.
  void startUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids);

 private:
  /// What a bundle says of itself, as a record holds it.
  struct Installed {
    Versions::VersionRef version;
    std::string name;
    std::string bundleId;
  };

  std::optional<Installed> readInstalled(PathInspector& inspector, const std::string& path) const;
  bool addRecord(const std::optional<Dictionary>& known, const std::string& path,
                 const Installed& installed);
  bool renewRecord(const Dictionary& known, const Installed& installed);
  void performUpdateInfoForItemsWithIDs(const std::vector<std::string>& ids);

  const Platform& platform_;
  ItemCatalogue& catalogue_;
  PassGuard& pass_;
  Mediator& mediator_;
};

}  // namespace revwarden
