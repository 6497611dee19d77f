#include "agent/principal_agent.h"

#include <mutex>
#include <utility>

#include "agent/kq_weak_proxy.h"
#include "catalogue/record_keys.h"
#include "platform/platform.h"

namespace revwarden {
namespace {

// Keeps an object until the process ends.
void keepForGood(std::shared_ptr<void> object) {
  static std::mutex& mutex = *new std::mutex;
  static auto& kept = *new std::vector<std::shared_ptr<void>>;
  if (!object) return;
  const std::lock_guard lock(mutex);
  kept.push_back(std::move(object));
}

}  // namespace

std::shared_ptr<PrincipalAgent> PrincipalAgent::create(std::shared_ptr<const Platform> platform) {
  std::shared_ptr<PrincipalAgent> agent(new PrincipalAgent(std::move(platform)));
  agent->start();
  return agent;
}

PrincipalAgent::PrincipalAgent(std::shared_ptr<const Platform> platform)
    : platform_(std::move(platform)),
      excluded_(platform_->files),
      settings_(*platform_, catalogue_, excluded_),
      pass_(platform_, *this),
      validation_(*platform_, catalogue_, pass_, *this),
      check_(*platform_, catalogue_, settings_, pass_, *this),
      notice_(*platform_, catalogue_, settings_, *this),
      refresh_(*platform_, catalogue_, settings_, excluded_, pass_, validation_, *this),
      schedule_(*platform_, settings_, *this),
      queue_(platform_, catalogue_, settings_, *this) {}

PrincipalAgent::~PrincipalAgent() {
  wake_.reset();
  schedule_.dropTimer();
  settings_.setLastFireDate(std::nullopt);
  // Intentional: a caller of `delegate` may still use the proxy, and a running job the rights.
  keepForGood(delegate_.get());
  keepForGood(queue_.rootTask());
}

void PrincipalAgent::start() {
  settings_.loadPrefs();
  // Intentional: refreshes at every start, however recent the last check is, and before the host
  // can set a delegate. The first event is lost.
  refresh_.startUpdateApplicationsList();
  wake_ = platform_->wake.observeDidWake([this] { schedule_.scheduleNextUpdate(); });
}

void PrincipalAgent::setDelegate(std::shared_ptr<KQRWAgentDelegate> delegate) {
  delegate_.set(std::make_shared<KQWeakProxy>(delegate));
}

// Intentional: saves and sends the event even if nothing changed or the id is unknown.
void PrincipalAgent::setStarred_forItemWithId(bool starred, std::string_view id) {
  catalogue_.setObjectThreadSave_forKey_forItemWithID(starred, kKQRWIsFavouriteKey, id);
  settings_.savePrefs();
  std::vector<Dictionary> changed;
  if (auto item = catalogue_.itemSnapshotWithID(id)) changed.push_back(std::move(*item));
  if (const auto delegate = delegate_.get())
    delegate->agent_didChangeStatusForItems(*this, changed);
}

void PrincipalAgent::moveItemsWithIds_toBlackList(const std::vector<std::string>& ids,
                                                  bool listed) {
  std::vector<Dictionary> changed;
  for (const std::string& id : ids) {
    catalogue_.setObjectThreadSave_forKey_forItemWithID(listed, kKQRWIsInBlackList, id);
    if (auto item = catalogue_.itemSnapshotWithID(id)) changed.push_back(std::move(*item));
  }
  settings_.savePrefs();
  if (const auto delegate = delegate_.get())
    delegate->agent_didChangeStatusForItems(*this, changed);
}

void PrincipalAgent::openRevwarden() {
  const std::shared_ptr<HostAppProxy> userInterface =
      platform_->host.hostAppProxyWithTargetId_protocol("KQRevwarden", "KQRWAgentDelegate");
  if (userInterface) userInterface->openRevwarden();
}

void PrincipalAgent::performAction(std::string_view selector) {
  if (selector == "openRevwarden") openRevwarden();
}

void PrincipalAgent::sendDidStartValidateItem() {
  if (const auto delegate = delegate_.get()) delegate->agentDidStartValidateItem(*this);
}

void PrincipalAgent::sendDidFinishValidateItem() {
  if (const auto delegate = delegate_.get()) delegate->agentDidFinishValidateItem(*this);
}

void PrincipalAgent::notifyDelegateAboutItemsDidChange() {
  if (const auto delegate = delegate_.get()) delegate->itemsDidChangeInAgent(*this);
}

void PrincipalAgent::didFinishUpdatingApplicationsList() {
  if (const auto delegate = delegate_.get()) delegate->agentDidFinishUpdatingApplicationList(*this);
}

}  // namespace revwarden
