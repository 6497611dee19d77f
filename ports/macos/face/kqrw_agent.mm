#import "ports/macos/face/kqrw_agent.h"

#include <utility>

#include "agent/principal_agent.h"
#import "ports/macos/face/delegate_events.h"
#import "ports/macos/face/job_objects.h"
#import "ports/macos/platform/agent_reference.h"
#import "ports/macos/platform/foundation_values.h"
#import "ports/macos/platform/mac_platform.h"
#import "ports/macos/platform/shared_utils.h"
#include "updater/kqrw_app_updater.h"

using revwarden::AgentReference;
using revwarden::DelegateEvents;
using revwarden::Dictionary;
using revwarden::foundationArray;
using revwarden::PrincipalAgent;
using revwarden::textOf;
using revwarden::textsOf;

struct KQRWAgentCore {
  std::shared_ptr<AgentReference> reference;
  std::shared_ptr<PrincipalAgent> agent;
  std::shared_ptr<DelegateEvents> events;
};

namespace {

// A protocol that is not referenced is missing at run time.
[[maybe_unused]] Protocol* const kJobDelegate = @protocol(KQRWAppInstallerDelegate);

// Returns the Objective-C object that acts for the target of a notice.
id targetObject(const AgentReference& reference,
                const std::shared_ptr<revwarden::NotificationTarget>& target) {
  if (std::dynamic_pointer_cast<PrincipalAgent>(target)) return reference.agent;
  const auto job = std::dynamic_pointer_cast<revwarden::KQRWAppUpdater>(target);
  return job ? revwarden::objectForJob(job) : nil;
}

KQRWAgentCore* makeCore(KQRWAgent* agent) {
  auto reference = std::make_shared<AgentReference>(AgentReference{[KQRWAgent class], agent});
  auto platform = revwarden::macPlatform(
      reference, @protocol(KQRWAgentDelegate),
      [reference](const auto& target) { return targetObject(*reference, target); });
  return new KQRWAgentCore{reference, PrincipalAgent::create(std::move(platform)), nullptr};
}

// Requests hold the agent: their events may release it.
std::shared_ptr<PrincipalAgent> held(const KQRWAgentCore* core) {
  return core->agent;
}

NSArray* contentsOf(const revwarden::LiveRecords& records) {
  std::vector<Dictionary> contents;
  contents.reserve(records.size());
  for (const auto& record : records) contents.push_back(record->contents());
  return foundationArray(contents);
}

}  // namespace

@implementation KQRWAgent

- (id)init {
  if (!(self = [super init])) return nil;
  core = makeCore(self);
  return self;
}

// Intentional: the proxy is not released, because a caller of `delegate` may still use it.
- (void)dealloc {
  if (core) core->reference->agent = nil;
  delete core;
  [super dealloc];
}

- (id<KQRWAgentDelegate>)delegate {
  return [[delegate retain] autorelease];
}

- (void)setDelegate:(id<KQRWAgentDelegate>)object {
  [delegate autorelease];  // not release: `object` may be this proxy
  delegate = [(KQWeakProxy*)[KQWeakProxy alloc] initWithObject:object];
  core->events = object ? std::make_shared<DelegateEvents>(self, delegate) : nullptr;
  core->agent->setDelegate(core->events);
}

- (NSArray*)items {
  return contentsOf(core->agent->items());
}

- (NSArray*)itemsSnapshot {
  return contentsOf(core->agent->itemsSnapshot());
}

- (NSDictionary*)itemSnapshotWithID:(NSString*)identifier {
  const auto item = core->agent->itemSnapshotWithID(textOf(identifier));
  return item ? revwarden::foundationDictionary(*item) : nil;
}

- (void)setStarred:(BOOL)starred forItemWithId:(NSString*)identifier {
  held(core)->setStarred_forItemWithId(starred, textOf(identifier));
}

- (void)moveItemsWithIds:(NSArray*)identifiers toBlackList:(BOOL)listed {
  held(core)->moveItemsWithIds_toBlackList(textsOf(identifiers), listed);
}

- (BOOL)itemWithIdIsInBlackList:(NSString*)identifier {
  return core->agent->itemWithIdIsInBlackList(textOf(identifier));
}

- (void)startFullRescan {
  held(core)->startFullRescan();
}

- (void)startUpdateApplicationsList {
  held(core)->startUpdateApplicationsList();
}

- (void)startUpdateInfoForItemsWithIDs:(NSArray*)identifiers {
  held(core)->startUpdateInfoForItemsWithIDs(textsOf(identifiers));
}

- (BOOL)updateIsInProgress {
  return core->agent->updateIsInProgress();
}

- (void)startUpdateItemWithIDs:(NSArray*)identifiers {
  held(core)->startUpdateItemWithIDs(textsOf(identifiers));
}

- (void)cancelUpdateItemWithIDs:(NSArray*)identifiers {
  held(core)->cancelUpdateItemWithIDs(textsOf(identifiers));
}

- (void)startUpdatePellmark {
  held(core)->startUpdatePellmark();
}

- (BOOL)installerQueueIsInProgress {
  return core->agent->installerQueueIsInProgress();
}

- (int64_t)installerQueueCount {
  return core->agent->installerQueueCount();
}

- (BOOL)showRevwardenNotifications {
  return core->agent->showRevwardenNotifications();
}

- (void)setShowRevwardenNotifications:(BOOL)show {
  held(core)->setShowRevwardenNotifications(show);
}

- (BOOL)updatesApplicationsFromAllLocalVolumes {
  return core->agent->updatesApplicationsFromAllLocalVolumes();
}

- (void)setUpdatesApplicationsFromAllLocalVolumes:(BOOL)all {
  held(core)->setUpdatesApplicationsFromAllLocalVolumes(all);
}

- (NSDate*)lastFireDate {
  const auto date = core->agent->lastFireDate();
  return date ? revwarden::foundationDate(*date) : nil;
}

- (int64_t)totalUpdatesCount {
  return core->agent->totalUpdatesCount();
}

- (void)openRevwarden {
  held(core)->openRevwarden();
}

@end
