#import "ports/macos/face/kqrw_app_updater.h"

#include <map>
#include <mutex>
#include <utility>

#import "ports/macos/face/job_objects.h"
#import "ports/macos/platform/foundation_values.h"
#include "queue/kqrw_pellmark_updater.h"

struct KQRWAppUpdaterCore {
  std::shared_ptr<revwarden::KQRWAppUpdater> job;
};

@interface KQRWAppUpdater (Creation)
- (id)initWithCore:(struct KQRWAppUpdaterCore*)taken;
- (void)performJobAction:(const char*)selector;
@end

@implementation KQRWAppUpdater

- (id)initWithCore:(struct KQRWAppUpdaterCore*)taken {
  if ((self = [super init])) core = taken;
  return self;
}

- (void)dealloc {
  delete core;
  [super dealloc];
}

- (NSString*)originalAppItemID {
  const auto& identifier = core->job->originalAppItemID();
  return identifier ? revwarden::foundationText(*identifier) : nil;
}

- (int64_t)simpleCurrentAction {
  return static_cast<int64_t>(core->job->simpleCurrentAction());
}

- (int64_t)currentAction {
  return static_cast<int64_t>(core->job->currentAction());
}

- (int64_t)totalBytes {
  return core->job->totalBytes();
}

- (int64_t)receivedBytes {
  return core->job->receivedBytes();
}

- (NSString*)downloadPath {
  const auto path = core->job->downloadPath();
  return path ? revwarden::foundationText(*path) : nil;
}

- (NSString*)resourcesPath {
  const auto path = core->job->resourcesPath();
  return path ? revwarden::foundationText(*path) : nil;
}

- (void)performJobAction:(const char*)selector {
  core->job->performAction(selector);
}

@end

@implementation KQRWPellmarkUpdater

- (void)relaunchPellmark {
  [self performJobAction:"relaunchPellmark"];
}

@end

namespace revwarden {

// A notice does not retain its target, nor does it say when it was dismissed: so targets stay.
::KQRWAppUpdater* objectForJob(std::shared_ptr<KQRWAppUpdater> job) {
  static std::mutex& mutex = *new std::mutex;
  static auto& objects = *new std::map<const KQRWAppUpdater*, ::KQRWAppUpdater*>;
  const std::lock_guard lock(mutex);
  ::KQRWAppUpdater*& object = objects[job.get()];
  if (!object) {
    const bool isOfHost = dynamic_cast<KQRWPellmarkUpdater*>(job.get()) != nullptr;
    const Class kind = isOfHost ? [::KQRWPellmarkUpdater class] : [::KQRWAppUpdater class];
    object = [[kind alloc] initWithCore:new KQRWAppUpdaterCore{std::move(job)}];
  }
  return object;
}

}  // namespace revwarden
