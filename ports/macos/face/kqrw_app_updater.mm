#import "ports/macos/face/kqrw_app_updater.h"

#include <optional>
#include <string>

#import "ports/macos/face/job_objects.h"
#import "ports/macos/platform/foundation_values.h"
#include "queue/kqrw_pellmark_updater.h"

struct KQRWAppUpdaterCore {
  std::weak_ptr<revwarden::KQRWAppUpdater> job;
  std::shared_ptr<revwarden::KQRWAppUpdater>
      kept;  // only for the host product: its notice has a button
};

@interface KQRWAppUpdater ()
- (id)initWithCore:(struct KQRWAppUpdaterCore*)taken;
- (void)performJobAction:(const char*)selector;
@end

namespace {

NSString* textOrNil(const std::optional<std::string>& text) {
  return text ? revwarden::foundationText(*text) : nil;
}

}  // namespace

@implementation KQRWAppUpdater

- (id)initWithCore:(struct KQRWAppUpdaterCore*)taken {
  if ((self = [super init])) core = taken;
  return self;
}

// Only the agent creates jobs.
- (id)init {
  [self release];
  return nil;
}

- (void)dealloc {
  delete core;
  [super dealloc];
}

- (NSString*)originalAppItemID {
  const auto job = core->job.lock();
  return textOrNil(job ? job->originalAppItemID() : std::nullopt);
}

- (int64_t)simpleCurrentAction {
  const auto job = core->job.lock();
  return job ? static_cast<int64_t>(job->simpleCurrentAction()) : 0;
}

- (int64_t)currentAction {
  const auto job = core->job.lock();
  return job ? static_cast<int64_t>(job->currentAction()) : 0;
}

- (int64_t)totalBytes {
  const auto job = core->job.lock();
  return job ? job->totalBytes() : 0;
}

- (int64_t)receivedBytes {
  const auto job = core->job.lock();
  return job ? job->receivedBytes() : 0;
}

- (NSString*)downloadPath {
  const auto job = core->job.lock();
  return textOrNil(job ? job->downloadPath() : std::nullopt);
}

- (NSString*)resourcesPath {
  const auto job = core->job.lock();
  return textOrNil(job ? job->resourcesPath() : std::nullopt);
}

- (void)performJobAction:(const char*)selector {
  if (const auto job = core->job.lock()) job->performAction(selector);
}

@end

@implementation KQRWPellmarkUpdater

- (void)relaunchPellmark {
  [self performJobAction:"relaunchPellmark"];
}

@end

namespace revwarden {

// Intentional: the object is never released. A notice does not retain its target and does not
// report when it closes.
::KQRWAppUpdater* objectForJob(const std::shared_ptr<KQRWAppUpdater>& job) {
  const bool isHostProduct = std::dynamic_pointer_cast<KQRWPellmarkUpdater>(job) != nullptr;
  const Class kind = isHostProduct ? [::KQRWPellmarkUpdater class] : [::KQRWAppUpdater class];
  return [[kind alloc] initWithCore:new KQRWAppUpdaterCore{job, isHostProduct ? job : nullptr}];
}

}  // namespace revwarden
