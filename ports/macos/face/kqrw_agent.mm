#import "ports/macos/face/kqrw_agent.h"

#include <utility>

#include "agent/principal_agent.h"
#include "platform/run_loop.h"
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
  std::shared_ptr<const revwarden::Platform> platform;
  std::shared_ptr<PrincipalAgent> agent;
  std::shared_ptr<DelegateEvents> events;
};

namespace {

id targetObject(const AgentReference& reference,
                const std::shared_ptr<revwarden::NotificationTarget>& target) {
  if (std::dynamic_pointer_cast<PrincipalAgent>(target)) return reference.agent;
  auto job = std::dynamic_pointer_cast<revwarden::KQRWAppUpdater>(target);
  return job ? revwarden::objectForJob(std::move(job)) : nil;
}

KQRWAgentCore* makeCore(KQRWAgent* agent) {
  auto reference = std::make_shared<AgentReference>(AgentReference{[agent class], agent});
  auto platform = revwarden::macPlatform(
      reference, @protocol(KQRWAgentDelegate),
      [reference](const auto& target) { return targetObject(*reference, target); });
  return new KQRWAgentCore{reference, platform, nullptr, nullptr};
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
  core->agent = PrincipalAgent::create(core->platform);
  return self;
}

// The proxy is not released: whoever asked for it may be using it still.
- (void)dealloc {
  core->reference->agent = nil;
  core->events.reset();
  // The agent behind goes on the main thread, whichever lets go of this one.
  if (![NSThread isMainThread]) {
    std::shared_ptr<PrincipalAgent>& agent = core->agent;
    std::function<void()> letGo = [agent = std::move(agent)] {};
    core->platform->mainLoop.post(std::move(letGo));
  }
  delete core;
  [super dealloc];
}

- (id<KQRWAgentDelegate>)delegate {
  return [[delegate retain] autorelease];
}

- (void)setDelegate:(id<KQRWAgentDelegate>)object {
  [delegate release];
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
  core->agent->setStarred_forItemWithId(starred, textOf(identifier));
}

- (void)moveItemsWithIds:(NSArray*)identifiers toBlackList:(BOOL)listed {
  core->agent->moveItemsWithIds_toBlackList(textsOf(identifiers), listed);
}

- (BOOL)itemWithIdIsInBlackList:(NSString*)identifier {
  return core->agent->itemWithIdIsInBlackList(textOf(identifier));
}

- (void)startFullRescan {
  core->agent->startFullRescan();
}

- (void)startUpdateApplicationsList {
  core->agent->startUpdateApplicationsList();
}

- (void)startUpdateInfoForItemsWithIDs:(NSArray*)identifiers {
  core->agent->startUpdateInfoForItemsWithIDs(textsOf(identifiers));
}

- (BOOL)updateIsInProgress {
  return core->agent->updateIsInProgress();
}

- (void)startUpdateItemWithIDs:(NSArray*)identifiers {
  core->agent->startUpdateItemWithIDs(textsOf(identifiers));
}

- (void)cancelUpdateItemWithIDs:(NSArray*)identifiers {
  core->agent->cancelUpdateItemWithIDs(textsOf(identifiers));
}

- (void)startUpdatePellmark {
  core->agent->startUpdatePellmark();
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
  core->agent->setShowRevwardenNotifications(show);
}

- (BOOL)updatesApplicationsFromAllLocalVolumes {
  return core->agent->updatesApplicationsFromAllLocalVolumes();
}

- (void)setUpdatesApplicationsFromAllLocalVolumes:(BOOL)all {
  core->agent->setUpdatesApplicationsFromAllLocalVolumes(all);
}

- (NSDate*)lastFireDate {
  const auto date = core->agent->lastFireDate();
  return date ? revwarden::foundationDate(*date) : nil;
}

- (int64_t)totalUpdatesCount {
  return core->agent->totalUpdatesCount();
}

- (void)openRevwarden {
  core->agent->openRevwarden();
}

@end
