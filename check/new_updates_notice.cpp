#include "check/new_updates_notice.h"

#include "catalogue/agent_settings.h"
#include "catalogue/item_catalogue.h"
#include "catalogue/record_keys.h"
#include "catalogue/version_info_keys.h"
#include "platform/file_manager.h"
#include "platform/host_application.h"
#include "platform/localization.h"
#include "platform/platform.h"
#include "platform/version.h"

// Announces each new version once, and starts the update of the host product if there is one.
namespace revwarden {
namespace {

constexpr size_t kNamesShown = 4;

// Lists up to four names. If there are more, "..." follows the fourth without a separator.
std::string namesText(const std::vector<std::string>& names) {
  std::string text;
  for (size_t i = 0; i < names.size() && i < kNamesShown; ++i) {
    if (i > 0) text += ", ";
    text += names[i];
  }
  if (names.size() > kNamesShown) text += "...";
  return text;
}

}  // namespace

void NewUpdatesNotice::notifyNewUpdates() {
  const std::optional<std::string> hostPath = platform_.host.hostAppPath();
  const Found found = markNewUpdates(hostPath);
  if (found.hostProduct) updateHostProduct(*hostPath);
  if (!settings_.showRevwardenNotifications() || found.names.empty()) return;
  showSummary(found.names);
  settings_.savePrefs();
}

NewUpdatesNotice::Found NewUpdatesNotice::markNewUpdates(
    const std::optional<std::string>& hostPath) {
  Found found;
  ItemCatalogue::Access records(catalogue_);
  for (auto position = records->begin(); position != records->end(); ++position) {
    const Dictionary record = RecordList::contents(position);
    const std::optional<std::string> version = newVersion(record);
    if (!version) continue;
    // Intentional: marked before it is decided whether to show it. A version that is not shown now,
    // because it is black-listed or notices are off, is never shown.
    records->edit(position, record.with(kKQRWNotifiedVersionKey, *version));
    const std::string* path = record.stringFor(kKQRWApplicationPathKey);
    if (path && hostPath && *path == *hostPath) {
      found.hostProduct = true;  // Intentional: also if it is black-listed or notices are off.
    } else if (!record.boolFor(kKQRWIsInBlackList)) {
      const std::string* name = record.stringFor(kKQRWApplicationNameKey);
      found.names.push_back(name ? *name : "(null)");
    }
  }
  return found;
}

std::optional<std::string> NewUpdatesNotice::newVersion(const Dictionary& record) const {
  const Dictionary offer =
      record.dictionaryFor(kKQRWAvailableVersionInfoKey).value_or(Dictionary());
  const Versions& versions = platform_.versions;
  const auto available = versions.versionWithValue(offer.find(kKQRWIVersionKey));
  if (!available) return std::nullopt;
  const auto current = versions.versionWithValue(record.find(kKQRWCurrentVersionKey));
  if (!current || current->compare(*available) >= 0) return std::nullopt;
  const auto notified = versions.versionWithValue(record.find(kKQRWNotifiedVersionKey));
  // Intentional: a version lower than the announced one is new, too.
  if (notified && available->compare(*notified) == 0) return std::nullopt;
  return available->stringRepresentation();
}

void NewUpdatesNotice::updateHostProduct(const std::string& hostPath) {
  const bool movable = platform_.files.isMovableFileAtPath(hostPath);
  if (!movable && !mediator_.hasRootTask()) {
    HostNotification notice = platform_.host.notificationInstance();
    notice.text = platform_.localization.KQLocalizedString("New version of Pellmark is available!");
    notice.icon = NotificationIcon{NotificationIcon::Kind::named, "DraggingViewNotificationIcon"};
    notice.target = mediator_.notificationTarget();
    notice.liveTime = 10.0;
    notice.button1Text = platform_.localization.KQLocalizedString("OK");
    platform_.host.showNotification(notice);
  }
  mediator_.startUpdatePellmark();
}

void NewUpdatesNotice::showSummary(const std::vector<std::string>& names) {
  const Localization& localization = platform_.localization;
  HostNotification notice = platform_.host.notificationInstance();
  notice.text = localization.KQLocalizedNumberStringWithFormat(
      "Updates available for %?1$u applications: %2$@. Open Pellmark to install updates.",
      static_cast<uint32_t>(names.size()), namesText(names));
  notice.target = mediator_.notificationTarget();
  notice.liveTime = 10.0;
  notice.button1Text = localization.KQLocalizedString("OK");
  notice.button1Action = "openRevwarden";
  notice.button2Text = localization.KQLocalizedString("Cancel");
  platform_.host.showNotification(notice);
}

}  // namespace revwarden
