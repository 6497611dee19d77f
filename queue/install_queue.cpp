#include "queue/install_queue.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "catalogue/agent_settings.h"
#include "catalogue/item_catalogue.h"
#include "catalogue/record_keys.h"
#include "catalogue/version_info_keys.h"
#include "platform/file_manager.h"
#include "platform/helper.h"
#include "platform/host_application.h"
#include "platform/localization.h"
#include "platform/log.h"
#include "platform/platform.h"
#include "platform/system_information.h"
#include "queue/kqrw_pellmark_updater.h"
#include "updater/kqrw_app_updater.h"
#include "updater/new_application.h"

namespace revwarden {
namespace {

bool contains(const std::vector<std::string>& texts, const std::string* text) {
  return text && std::find(texts.begin(), texts.end(), *text) != texts.end();
}

Dictionary withTextOrWithout(const Dictionary& item, std::string_view key,
                             const std::optional<std::string>& text) {
  return text ? item.with(key, *text) : item.without(key);
}

Dictionary withAction(const Dictionary& item, const KQRWAppUpdater& job) {
  return item.with(kKQRWInstallerCurrentActionKey, static_cast<int64_t>(job.simpleCurrentAction()));
}

}  // namespace

InstallQueue::InstallQueue(std::shared_ptr<const Platform> platform, ItemCatalogue& catalogue,
                           AgentSettings& settings, Mediator& mediator)
    : platform_(std::move(platform)),
      catalogue_(catalogue),
      settings_(settings),
      mediator_(mediator),
      ledger_(*platform_) {}

InstallQueue::~InstallQueue() = default;

void InstallQueue::startUpdateItemWithIDs(const std::vector<std::string>& ids) {
  const auto kept = mediator_.weakAgentReference().lock();
  // Intentional: in catalogue order, and even if a record has no offer or is on the black list.
  std::vector<std::pair<LiveRecordRef, Job>> requested;
  for (const LiveRecordRef& record : catalogue_.itemsSnapshot()) {
    const Dictionary item = record->contents();
    if (!contains(ids, item.stringFor(kKQRWIDKey))) continue;
    if (jobFor(item) != installersQueue_.end()) continue;  // the request joins that job
    requested.emplace_back(record, makeJob(item));
    // Before the user is asked for rights: the agent may end while it waits for the answer.
    ledger_.open(requested.back().second, item);
  }
  std::vector<Dictionary> changed;
  rootTaskAvailable_ = true;
  for (const auto& [record, job] : requested) {
    Dictionary item = record->contents();
    // Intentional: the list has the record as it was queued, even if its job has ended since.
    if (addItemToInstallQueue(item, job)) changed.push_back(std::move(item));
  }
  sendDidChangeStatus(changed);
  for (const auto& [job, error] : std::exchange(refused_, {})) {
    ledger_.close(*job, {JobOutcome::Kind::refused, error, std::nullopt});
  }
}

// Goes from the last job to the first, so that the end of the running job does not start a job that
// this request also cancels.
void InstallQueue::cancelUpdateItemWithIDs(const std::vector<std::string>& ids) {
  const auto kept = mediator_.weakAgentReference().lock();
  std::vector<Dictionary> changed;
  std::vector<Job> cancelled;
  for (size_t index = installersQueue_.size(); index-- > 0;) {
    if (index >= installersQueue_.size()) continue;  // a nested request removed jobs
    const Job job = installersQueue_[index];
    const std::optional<std::string>& id = job->originalAppItemID();
    if (!id || !contains(ids, &*id)) continue;
    const std::optional<Dictionary> known = catalogue_.itemSnapshotWithID(*id);
    Dictionary item = known.value_or(Dictionary{{kKQRWIDKey, *id}});
    if (removeItemFromInstallQueue(item) && known) changed.push_back(std::move(item));
    cancelled.push_back(job);
  }
  sendDidChangeStatus(changed);
  // The running job has already reported its outcome; this has no effect on it.
  for (const Job& job : cancelled) ledger_.close(*job, cancelledByUser());
}

void InstallQueue::startUpdatePellmark() {
  const std::optional<std::string> path = platform_->host.hostAppPath();
  if (!path) return;
  const std::optional<Dictionary> item = catalogue_.itemSnapshotWithPath(*path);
  const std::string* id = item ? item->stringFor(kKQRWIDKey) : nullptr;
  if (id) startUpdateItemWithIDs({*id});
}

bool InstallQueue::addItemToInstallQueue(Dictionary& item, const Job& job) {
  if (jobFor(item) != installersQueue_.end()) {
    ledger_.withdraw(*job);  // an event of this request queued another job for the record
    return false;
  }
  if (needsRights(item)) {
    if (const auto refusal = rootTask_ ? std::nullopt : askForRights()) {
      refused_.emplace_back(job, *refusal);
      return false;
    }
    job->setRootTask(rootTask_);
  }
  item = item.with(kKQRWInstallerIsInQueueKey, true);
  catalogue_.updateItem(item);
  installersQueue_.push_back(job);
  if (installersQueue_.size() == 1) {
    sendDidStartQueue();
    job->start();  // may end the job and so empty the queue
  }
  return true;
}

std::vector<InstallQueue::Job>::iterator InstallQueue::jobFor(const Dictionary& item) {
  const std::optional<std::string> id = item.textFor(kKQRWIDKey);
  return std::find_if(installersQueue_.begin(), installersQueue_.end(),
                      [&](const Job& job) { return id && job->originalAppItemID() == id; });
}

InstallQueue::Job InstallQueue::makeJob(const Dictionary& item) {
  const std::optional<std::string> hostPath = platform_->host.hostAppPath();
  const std::string* path = item.stringFor(kKQRWApplicationPathKey);
  const bool isHostProduct = path && hostPath && *path == *hostPath;
  const Job job = isHostProduct ? std::make_shared<KQRWPellmarkUpdater>(platform_, item)
                                : std::make_shared<KQRWAppUpdater>(platform_, item);
  job->setDelegate(
      std::shared_ptr<KQRWAppInstallerDelegate>(mediator_.weakAgentReference().lock(), this));
  return job;
}

bool InstallQueue::needsRights(const Dictionary& item) const {
  const std::string path = item.textFor(kKQRWApplicationPathKey).value_or("");
  return !platform_->files.isMovableFileAtPath(path) || itemNeedToBeUpdatedThroughPkgFile(item);
}

// Asks the user at most once in each request. Returns why the rights were refused, if they were.
std::optional<Error> InstallQueue::askForRights() {
  if (!rootTaskAvailable_) return rightsRefusal_;
  const std::string format = platform_->localization.KQLocalizedString(
      "%@ requires administrator privileges to perform update.");
  const Result<std::shared_ptr<KQHelperTask>> granted = platform_->helpers.rootTaskWithPrompt(
      formatted(format, {platform_->productInformation.productName()}));
  rootTaskAvailable_ = granted.ok();
  if (!granted) return rightsRefusal_ = granted.error();
  rootTask_ = *granted;
  return std::nullopt;
}

bool InstallQueue::removeItemFromInstallQueue(Dictionary& item) {
  const auto found = jobFor(item);
  if (found == installersQueue_.end()) return false;
  if (found == installersQueue_.begin()) {
    const Job running = *found;  // the report of its end removes it from the queue
    running->cancel();
  } else {
    installersQueue_.erase(found);
  }
  // Intentional: `item` is the record before the cancellation, so this overwrites later changes.
  item = item.with(kKQRWInstallerIsInQueueKey, false);
  catalogue_.updateItem(item);
  return true;
}

void InstallQueue::appInstallerDidStart(KQRWAppUpdater& job) {
  ledger_.didStart(job);
  const std::optional<Dictionary> known = itemOf(job);
  if (!known) return;
  const Dictionary item = withAction(*known, job);
  // Intentional: sends the event before the catalogue has the new step.
  if (const auto delegate = mediator_.delegate())
    delegate->agent_didStartUpdateItem(mediator_.agent(), item);
  catalogue_.updateItem(item);
}

// Intentional: does not check that the job is still queued. The status of a job that ends inside
// `start` or `cancel` arrives after its end.
void InstallQueue::appInstallerDidUpdateStatus(KQRWAppUpdater& job) {
  const std::optional<Dictionary> known = itemOf(job);
  if (!known) return;
  Dictionary item = withAction(known->with(kKQRWInstallerTotalBytesKey, job.totalBytes())
                                   .with(kKQRWInstallerReceivedBytesKey, job.receivedBytes()),
                               job);
  item = withTextOrWithout(item, kKQRWInstallerDownloadPathKey, job.downloadPath());
  item = withTextOrWithout(item, kKQRWInstallerResourcesPathKey, job.resourcesPath());
  catalogue_.updateItem(item);
  if (const auto delegate = mediator_.delegate())
    delegate->agent_didChangeUpdatedStatusForItem(mediator_.agent(), item);
}

void InstallQueue::appInstaller_didFinishSuccessfully(KQRWAppUpdater& job, bool successfully) {
  const std::shared_ptr<KQRWAppUpdater> kept = job.shared_from_this();
  const std::optional<Dictionary> item = markAsNotQueued(job);
  std::erase(installersQueue_, kept);
  sendDidChangeStatus(item ? std::vector{*item} : std::vector<Dictionary>());
  if (const auto delegate = mediator_.delegate(); delegate && item)
    delegate->agent_didStopUpdateItem(mediator_.agent(), *item);
  reportOutcomeOf(job);
  if (installersQueue_.empty()) {
    sendDidStopQueue();
    dropRights();
  } else {
    startHead();
  }
  // Intentional: after the start of the next job. If that job has already ended, the validation of
  // its application is running and this one is skipped.
  revalidateItemOf(job);
  // Intentional: a success of which the outcome says otherwise counts, too.
  if (successfully) settings_.countInstalledUpdate();
  logOutcome(item.value_or(Dictionary()), successfully);
}

// Intentional: unlike the normal end, this keeps the administrator rights for the next run, sends
// no event for single jobs, logs and counts nothing, and validates only the failed job's
// application.
void InstallQueue::appInstallerFailedAndStoppedQueue(KQRWAppUpdater& job) {
  const std::shared_ptr<KQRWAppUpdater> kept = job.shared_from_this();
  platform_->log.NSLog("!!!!! QUEUE INTERRUPTED !!!!!!");
  std::vector<Dictionary> changed;
  for (const Job& one : installersQueue_) {
    if (auto item = markAsNotQueued(*one)) changed.push_back(std::move(*item));
  }
  const std::vector<Job> dropped = std::exchange(installersQueue_, {});
  sendDidChangeStatus(changed);
  sendDidStopQueue();
  reportOutcomeOf(job);
  const JobVerdict verdict = droppedFromQueue(job.applicationName());
  for (const Job& one : dropped) {
    // A job that already runs, because the failed one had reported its end before, ends by itself.
    if (!ledger_.isStarted(*one)) ledger_.close(*one, verdict);
  }
  revalidateItemOf(job);
}

void InstallQueue::startHead() {
  const Job head = installersQueue_.front();  // may leave the queue before `start` returns
  head->start();
}

void InstallQueue::dropRights() {
  if (rootTask_) rootTask_->stop();
  rootTask_ = nullptr;
}

std::optional<Dictionary> InstallQueue::itemOf(const KQRWAppUpdater& job) const {
  const std::optional<std::string>& id = job.originalAppItemID();
  return id ? catalogue_.itemSnapshotWithID(*id) : std::nullopt;
}

std::optional<Dictionary> InstallQueue::markAsNotQueued(const KQRWAppUpdater& job) {
  const std::optional<Dictionary> known = itemOf(job);
  if (!known) return std::nullopt;
  const Dictionary item = known->with(kKQRWInstallerIsInQueueKey, false);
  catalogue_.updateItem(item);
  return item;
}

void InstallQueue::reportOutcomeOf(KQRWAppUpdater& job) {
  job.whenVerdictIsKnown(
      [this, agent = mediator_.weakAgentReference(), &job](const JobVerdict& verdict) {
        if (const auto alive = agent.lock()) ledger_.close(job, verdict);
      });
}

void InstallQueue::revalidateItemOf(const KQRWAppUpdater& job) {
  if (const auto& id = job.originalAppItemID()) mediator_.startUpdateInfoForItemsWithIDs({*id});
}

// Intentional: names the version that was announced to the user, not the one in the offer.
void InstallQueue::logOutcome(const Dictionary& item, bool successfully) {
  platform_->log.KQLog(successfully ? "%@ was updated from %@ to %@ version successfully."
                                    : "Update of %@ from %@ to %@ version was failed.",
                       {item.textFor(kKQRWApplicationNameKey), item.textFor(kKQRWCurrentVersionKey),
                        item.textFor(kKQRWNotifiedVersionKey)});
}

void InstallQueue::sendDidChangeStatus(const std::vector<Dictionary>& items) {
  if (const auto delegate = mediator_.delegate())
    delegate->agent_didChangeStatusForItems(mediator_.agent(), items);
}

void InstallQueue::sendDidStartQueue() {
  if (const auto delegate = mediator_.delegate()) delegate->didStartQueueInAgent(mediator_.agent());
}

void InstallQueue::sendDidStopQueue() {
  if (const auto delegate = mediator_.delegate()) delegate->didStopQueueInAgent(mediator_.agent());
}

// Uses the link as it is stored: with a line break at its end it is not a package.
bool itemNeedToBeUpdatedThroughPkgFile(const Dictionary& item) {
  const auto offer = item.dictionaryFor(kKQRWAvailableVersionInfoKey);
  const std::string* link = offer ? offer->stringFor(kKQRWIDownloadLinkKey) : nullptr;
  return link && hasPackageExtension(*link);
}

}  // namespace revwarden
